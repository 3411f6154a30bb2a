#include "velmo_scenes/clip.h"

#include <gtest/gtest.h>

#include "velmo_scenes/scene.h"

namespace scenes {
namespace {

constexpr int kFrames = 120;  // twelve seconds
constexpr double kStep = 0.1;

TEST(Clip, TwoPeopleMoveAndPauseAndRaiseAHand) {
    Scene scene(StageClip());
    Frame before;
    scene.Draw(0.0, 64, 36, before);
    int equal = 0;
    int raised = 0;
    for (int i = 1; i < kFrames; ++i) {
        Frame frame;
        scene.Draw(i * kStep, 64, 36, frame);
        EXPECT_EQ(frame.people, 2);
        if (frame.rgb == before.rgb) ++equal;
        if (frame.arms[0] == ArmState::Raised || frame.arms[1] == ArmState::Raised) ++raised;
        before = frame;
    }
    EXPECT_GT(equal, 25);
    EXPECT_LT(equal, 60);
    EXPECT_GT(raised, 10);
}

TEST(Clip, NoiseMakesAPausesFramesDiffer) {
    Scene scene(StageClip({.cameraNoise = true}));
    Frame first;
    Frame second;
    scene.Draw(3.2, 64, 36, first);
    scene.Draw(3.3, 64, 36, second);

    EXPECT_TRUE(scene.IsStillBetween(3.2, 3.3));
    EXPECT_NE(first.rgb, second.rgb);
    EXPECT_EQ(first.mask, second.mask);
}

}  // namespace
}  // namespace scenes
