#include "velmo_parent/skip_guard.h"

#include <gtest/gtest.h>

namespace velmo_parent {
namespace {

using Flag = SkipGuard::Flag;

TEST(SkipGuard, ClearsTheFlagAsLongAsNoFrameHadIt) {
    SkipGuard guard;
    EXPECT_EQ(guard.FlagFor(Skipping::Allowed), Flag::Set);
    EXPECT_EQ(guard.FlagFor(Skipping::Off), Flag::Clear);
    EXPECT_EQ(guard.FlagFor(Skipping::OffEvenIfFrozen), Flag::Clear);
    guard.Sent(false);
    EXPECT_EQ(guard.FlagFor(Skipping::Off), Flag::Clear);
    guard.Answered(false, false);
    guard.HelperChanges();
    EXPECT_EQ(guard.FlagFor(Skipping::Off), Flag::Clear);
    EXPECT_FALSE(guard.MayFreeze());
}

TEST(SkipGuard, DoesNotKnowWhileAFrameWithTheFlagIsOnItsWay) {
    SkipGuard guard;
    guard.Sent(true);
    EXPECT_EQ(guard.FlagFor(Skipping::Off), Flag::Unknown);
    EXPECT_EQ(guard.FlagFor(Skipping::OffEvenIfFrozen), Flag::Clear);
    EXPECT_TRUE(guard.MayFreeze());
    guard.Sent(true);
    guard.Answered(true, true);
    EXPECT_EQ(guard.FlagFor(Skipping::Off), Flag::Unknown) << "one is left";
    guard.Answered(true, true);
    EXPECT_EQ(guard.FlagFor(Skipping::Off), Flag::Clear);
}

TEST(SkipGuard, KeepsTheFlagBehindASkippedFrameUntilOneIsInferred) {
    SkipGuard guard;
    for (int frame = 0; frame < 3; ++frame) {
        guard.Sent(true);
        guard.Answered(true, false);
        EXPECT_EQ(guard.FlagFor(Skipping::Off), Flag::Set);
        EXPECT_TRUE(guard.MayFreeze());
    }
    guard.Sent(true);
    guard.Answered(true, true);
    EXPECT_EQ(guard.FlagFor(Skipping::Off), Flag::Clear);
    // Frames without the flag decide nothing.
    guard.Sent(false);
    guard.Answered(false, true);
    EXPECT_EQ(guard.FlagFor(Skipping::Off), Flag::Clear);
}

TEST(SkipGuard, LetsNoFrameWithoutTheFlagSpeakForTheLastDecision) {
    SkipGuard guard;
    guard.Sent(true);
    guard.Answered(true, false);
    guard.Sent(false);
    guard.Answered(false, true);
    EXPECT_EQ(guard.FlagFor(Skipping::Off), Flag::Set);
}

TEST(SkipGuard, FearsTheWorstOfLostFramesAndOfTheOneBehindThem) {
    SkipGuard guard;
    guard.Sent(true);
    guard.Lost(true);
    EXPECT_EQ(guard.FlagFor(Skipping::Off), Flag::Set);
    guard.Sent(true);
    guard.Answered(true, true);  // its stamp is compared with one that nobody has seen
    EXPECT_EQ(guard.FlagFor(Skipping::Off), Flag::Set);
    guard.Sent(true);
    guard.Answered(true, true);
    EXPECT_EQ(guard.FlagFor(Skipping::Off), Flag::Clear);
}

TEST(SkipGuard, FearsTheWorstOfAnotherHelper) {
    SkipGuard guard;
    guard.Sent(true);
    guard.Answered(true, true);
    guard.HelperChanges();
    EXPECT_EQ(guard.FlagFor(Skipping::Off), Flag::Set);
}

}  // namespace
}  // namespace velmo_parent
