#include <gtest/gtest.h>

#include <array>
#include <bit>

#include "velmo_scenes/clip.h"
#include "velmo_scenes/scene.h"

// The same constants on every system and at every level of optimisation: what a network learned on one is what it's
// tested on elsewhere. Whoever changes what is drawn changes them, on purpose.
namespace scenes {
namespace {

class Checksum {
 public:
    void Add(const std::vector<std::uint8_t>& bytes) {
        for (const std::uint8_t byte : bytes)
            m_value = (m_value ^ byte) * 0x100000001B3ULL;
    }
    void Add(std::uint32_t number) { m_value = (m_value ^ number) * 0x100000001B3ULL; }
    void AddFactsOf(const Frame& frame) {
        Add(static_cast<std::uint32_t>(frame.people));
        for (const PersonFacts& person : frame.persons) {
            Add(person.visible ? 1U : 0U);
            for (const float value : {person.headX, person.headY, person.headHalfWidth, person.headHalfHeight})
                Add(std::bit_cast<std::uint32_t>(value));
        }
        for (const ArmState arm : frame.arms)
            Add(static_cast<std::uint32_t>(arm));
    }
    std::uint64_t Value() const { return m_value; }

 private:
    std::uint64_t m_value = 0xCBF29CE484222325ULL;
};

struct Drawn {
    std::uint64_t pictures;
    std::uint64_t masks;
    std::uint64_t facts;
};

// Of forty scenes at two times: each part is drawn in one of them.
Drawn ManyScenes(int width, int height) {
    Checksum pictures;
    Checksum masks;
    Checksum facts;
    Frame frame;
    for (std::uint64_t seed = 0; seed < 40; ++seed) {
        Scene scene(seed);
        for (const double seconds : {0.5, 2.75}) {
            scene.Draw(seconds, width, height, frame);
            pictures.Add(frame.rgb);
            masks.Add(frame.mask);
            facts.AddFactsOf(frame);
        }
    }
    return {pictures.Value(), masks.Value(), facts.Value()};
}

TEST(PinnedFrames, ScenesAreTheSameOnEverySystem) {
    const Drawn drawn = ManyScenes(96, 54);

    EXPECT_EQ(drawn.pictures, 0xB66A0464457EF622ULL);
    EXPECT_EQ(drawn.masks, 0xF642D5628FD9EC66ULL);
    EXPECT_EQ(drawn.facts, 0xD56065CD0F9F2D97ULL);
}

TEST(PinnedFrames, ScenesOfAnOddSizeAreTheSameOnEverySystem) {
    const Drawn drawn = ManyScenes(37, 23);

    EXPECT_EQ(drawn.pictures, 0xE8EA7EB04F9E7A4FULL);
    EXPECT_EQ(drawn.masks, 0xCA764ACECEC74930ULL);
    EXPECT_EQ(drawn.facts, 0xEAA9DDF9862F0602ULL);
}

TEST(PinnedFrames, TheClipIsTheSameOnEverySystem) {
    Scene scene(StageClip());
    Checksum pictures;
    Frame frame;
    for (const double seconds : {0.0, 1.25, 5.0}) {
        scene.Draw(seconds, 160, 90, frame);
        pictures.Add(frame.rgb);
    }

    EXPECT_EQ(pictures.Value(), 0xB48869FE41A2ECD1ULL);
}

}  // namespace
}  // namespace scenes
