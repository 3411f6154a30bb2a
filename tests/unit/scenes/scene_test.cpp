#include "velmo_scenes/scene.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <numeric>

#include "velmo_scenes/clip.h"

namespace scenes {
namespace {

using testing::Each;

constexpr int kWidth = 64;
constexpr int kHeight = 36;
constexpr std::uint64_t kSeedOfAHighDesk = 3;  // its edge is in the picture, from side to side

Frame FrameAt(Scene& scene, double seconds) {
    Frame frame;
    scene.Draw(seconds, kWidth, kHeight, frame);
    return frame;
}

std::uint8_t MaskAt(const Frame& frame, float x, float y) {
    return frame.mask[static_cast<std::size_t>(y) * kWidth + static_cast<std::size_t>(x)];
}

TEST(SceneDraw, TheSameSeedAndTimeGiveTheSameBytesInAnyOrder) {
    Scene forwards(11);
    Scene backwards(11);
    Frame frame;

    const Frame early = FrameAt(forwards, 0.5);
    const Frame late = FrameAt(forwards, 1.5);
    backwards.Draw(1.5, kWidth, kHeight, frame);
    EXPECT_EQ(frame.rgb, late.rgb);
    EXPECT_EQ(frame.mask, late.mask);
    backwards.Draw(0.5, kWidth, kHeight, frame);
    EXPECT_EQ(frame.rgb, early.rgb);
}

TEST(SceneDraw, ASizeInBetweenChangesNothing) {
    Scene scene(12);
    const Frame first = FrameAt(scene, 1.0);
    Frame other;

    scene.Draw(1.0, 31, 17, other);

    EXPECT_EQ(other.rgb.size(), 31U * 17U * 3U);
    EXPECT_EQ(other.mask.size(), 31U * 17U);
    EXPECT_EQ(FrameAt(scene, 1.0).rgb, first.rgb);
}

TEST(SceneDraw, TakesSizesDownToOnePixelAndUprightOnes) {
    for (std::uint64_t seed = 0; seed < 12; ++seed) {
        Scene scene(seed);
        Frame frame;
        scene.Draw(0.0, 1, 1, frame);
        EXPECT_EQ(frame.rgb.size(), 3U);
        scene.Draw(0.0, 9, 40, frame);
        EXPECT_EQ(frame.mask.size(), 360U);
    }
}

TEST(SceneDraw, AStillSceneChangesItsNoiseOnly) {
    const SceneSettings settings{.still = true};
    int noisy = 0;
    for (std::uint64_t seed = 20; seed < 25; ++seed) {
        Scene scene(seed, settings);
        const Frame first = FrameAt(scene, 0.0);
        const Frame second = FrameAt(scene, 5.0);
        EXPECT_EQ(first.mask, second.mask);
        if (first.rgb != second.rgb) ++noisy;
        EXPECT_TRUE(scene.IsStillBetween(0.0, 5.0));
    }
    EXPECT_GT(noisy, 0);
}

TEST(SceneDraw, AStillSceneWithoutNoiseRepeatsItsBytes) {
    const SceneSettings settings{.still = true, .cameraNoise = false};
    for (std::uint64_t seed = 20; seed < 25; ++seed) {
        Scene scene(seed, settings);
        EXPECT_EQ(FrameAt(scene, 0.0).rgb, FrameAt(scene, 5.0).rgb);
    }
}

TEST(SceneDraw, SaysWhichFramesRepeatWhileEverybodyPauses) {
    const SceneSettings settings{.cameraNoise = false};
    int repeated = 0;
    int moved = 0;
    for (std::uint64_t seed = 30; seed < 36; ++seed) {
        Scene scene(seed, settings);
        Frame before = FrameAt(scene, 0.0);
        for (int i = 1; i < 16; ++i) {
            const Frame frame = FrameAt(scene, i * 0.3);
            if (scene.IsStillBetween((i - 1) * 0.3, i * 0.3)) {
                EXPECT_EQ(frame.rgb, before.rgb);
                ++repeated;
            } else if (frame.rgb != before.rgb) {
                ++moved;
            }
            before = frame;
        }
    }
    EXPECT_GT(repeated, 5);
    EXPECT_GT(moved, 20);
}

TEST(SceneDraw, WithoutAPersonTheMaskIsEmptyAndWithOneItIsNot) {
    std::array<int, 3> seen{};
    int nobody = 0;
    for (std::uint64_t seed = 0; seed < 120; ++seed) {
        const Staging staging = DrawStaging(seed);
        Scene scene(staging);
        const Frame frame = FrameAt(scene, 1.0);
        const double sum = std::accumulate(frame.mask.begin(), frame.mask.end(), 0.0);
        if (staging.people.empty()) {
            ++nobody;
            EXPECT_EQ(frame.people, 0) << seed;
            EXPECT_EQ(sum, 0.0) << seed;
        } else if (frame.people == 0) {  // a little of those who are there may stick out, and is rounded to bytes
            const auto touched = std::count_if(frame.mask.begin(), frame.mask.end(), [](int byte) { return byte > 0; });
            EXPECT_LE(sum, 255.0 * 2 * kLeastSeen * kWidth * kHeight + 0.5 * static_cast<double>(touched)) << seed;
        } else {
            EXPECT_GT(sum, 0.0) << seed;
        }
        ++seen.at(static_cast<std::size_t>(frame.people));
    }
    EXPECT_GT(nobody, 2);
    EXPECT_GE(seen[0], nobody);
    EXPECT_GT(seen[1], 60);
    EXPECT_GT(seen[2], 8);
}

// The clip's two people; the second one is in front.
class SeenPeople : public testing::Test {
 protected:
    Frame Draw() const {
        Scene scene(m_staging);
        return FrameAt(scene, 1.0);
    }
    double MaskSum() const {
        const Frame frame = Draw();
        return std::accumulate(frame.mask.begin(), frame.mask.end(), 0.0);
    }
    static void Put(Person& person, float column, float row, float scale) {
        person.column = column;
        person.row = row;
        person.scale = scale;
        person.motion.sway = 0.0F;
        person.held = Held::Nothing;
    }

    Staging m_staging = StageClip();
    Person& m_behind = m_staging.people[0];
    Person& m_inFront = m_staging.people[1];
};

TEST_F(SeenPeople, AreNotThoseWhomSomebodyElseHides) {
    Put(m_behind, 0.5F, 0.75F, 0.03F);
    Put(m_inFront, 0.5F, 0.55F, 0.2F);

    const Frame frame = Draw();

    EXPECT_EQ(frame.people, 1);
    EXPECT_NEAR(frame.persons[0].headHalfHeight, 0.2F * kHeight, 0.01F);
    EXPECT_EQ(frame.persons[1].headHalfHeight, 0.0F);
}

TEST_F(SeenPeople, AreThoseWhoStandWhollyBeforeSomebodyElse) {
    Put(m_behind, 0.5F, 0.55F, 0.3F);
    Put(m_inFront, 0.5F, 0.85F, 0.04F);
    m_staging.people[0].look.standing = true;

    const Frame frame = Draw();

    EXPECT_EQ(frame.people, 2);
    EXPECT_NEAR(frame.persons[0].headHalfHeight, 0.04F * kHeight, 0.01F);
    EXPECT_NEAR(frame.persons[1].headHalfHeight, 0.3F * kHeight, 0.01F);
}

TEST_F(SeenPeople, AreNotThoseWhomADeskHides) {
    m_staging.people.pop_back();
    Put(m_behind, 0.5F, 1.03F, 0.03F);
    m_staging.deskThings = Random(kSeedOfAHighDesk);

    EXPECT_EQ(Draw().people, 1);
    m_staging.desk = true;
    EXPECT_EQ(Draw().people, 0);
    EXPECT_EQ(Draw().persons[0].headHalfHeight, 0.0F);
    EXPECT_EQ(MaskSum(), 0.0);
}

TEST_F(SeenPeople, HaveTheirOwnArmsTold) {
    m_staging.people[0].motion.script = {{Gesture::Up, Gesture::Out}};
    m_staging.people[1].motion.script = {{Gesture::Hang, Gesture::Hang}};
    Put(m_behind, 0.5F, 0.55F, 0.2F);
    Put(m_inFront, 3.0F, 0.55F, 0.2F);  // out of the picture

    const Frame frame = Draw();

    EXPECT_EQ(frame.people, 1);
    EXPECT_THAT(frame.arms, testing::ElementsAre(ArmState::Raised, ArmState::Out));
}

TEST(SceneDraw, AHeadIsForegroundWhereTheFactsSayItIs) {
    int heads = 0;
    int covered = 0;
    for (std::uint64_t seed = 0; seed < 120; ++seed) {
        Scene scene(seed);
        const Frame frame = FrameAt(scene, 1.0);
        for (const PersonFacts& person : frame.persons) {
            if (!person.visible) continue;
            ++heads;
            if (MaskAt(frame, person.headX, person.headY) > 200) ++covered;
        }
    }
    EXPECT_GT(heads, 80);
    EXPECT_GT(covered * 100, heads * 95);  // something that is held or stands in front covers a few
}

TEST(SceneDraw, NamesTheLargestPersonFirst) {
    for (std::uint64_t seed = 0; seed < 60; ++seed) {
        Scene scene(seed);
        const Frame frame = FrameAt(scene, 0.0);
        if (frame.people < 2) continue;
        EXPECT_GE(frame.persons[0].headHalfHeight, frame.persons[1].headHalfHeight * 0.9F) << seed;
    }
}

TEST(SceneDraw, ArmsHangReachOutAndAreRaised) {
    std::array<int, 3> seen{};
    for (std::uint64_t seed = 0; seed < 120; ++seed) {
        Scene scene(seed);
        for (const ArmState arm : FrameAt(scene, 2.0).arms)
            ++seen[static_cast<std::size_t>(arm)];
    }
    EXPECT_THAT(seen, Each(testing::Gt(15)));
}

TEST(PausesMotionTime, StandsInAPauseAndGoesOnWhereItStood) {
    const Pauses pauses{4.0F, 0.25F};
    EXPECT_EQ(pauses.MotionTime(0.0F), 0.0F);
    EXPECT_LT(pauses.MotionTime(2.9F), 3.0F);
    EXPECT_EQ(pauses.MotionTime(3.0F), 3.0F);
    EXPECT_EQ(pauses.MotionTime(3.9F), 3.0F);
    EXPECT_EQ(pauses.MotionTime(4.0F), 3.0F);
    EXPECT_GT(pauses.MotionTime(4.5F), 3.0F);
    EXPECT_EQ(Pauses{}.MotionTime(7.5F), 7.5F);
}

}  // namespace
}  // namespace scenes
