#include "velmo_parent/mask_freshness.h"

#include <gtest/gtest.h>

namespace velmo_parent {
namespace {

TEST(MaskFreshness, CallsAMaskNewThatWasMadeBehindItsFrame) {
    MaskFreshness freshness;
    const auto verdict = freshness.See(1000, 1000, 1004);
    EXPECT_FALSE(verdict.isReused);
    EXPECT_EQ(verdict.ageMs, 4);
    EXPECT_EQ(verdict.oldInARow, 0);
}

TEST(MaskFreshness, CallsAMaskReusedThatIsOlderThanItsFrame) {
    MaskFreshness freshness;
    const auto verdict = freshness.See(999, 1000, 1004);
    EXPECT_TRUE(verdict.isReused);
    EXPECT_EQ(verdict.oldInARow, 1);
}

TEST(MaskFreshness, CallsAMaskReusedWithTheStampOfTheOneBefore) {
    MaskFreshness freshness;
    (void)freshness.See(1000, 990, 1004);
    // Its frame was sent ahead, so that its mask may be its own for all that can be told.
    const auto verdict = freshness.See(1000, 991, 1005);
    EXPECT_TRUE(verdict.isReused);
    EXPECT_EQ(verdict.oldInARow, 0);
}

TEST(MaskFreshness, HasNoAgeBelowZero) {
    MaskFreshness freshness;
    EXPECT_EQ(freshness.See(1005, 1000, 1004).ageMs, 0);
}

TEST(MaskFreshness, GoesStaleAtTheEighteenthOldMaskInARowOnce) {
    MaskFreshness freshness;
    (void)freshness.See(1000, 1000, 1001);
    for (std::uint64_t frame = 1; frame <= 40; ++frame) {
        const auto verdict = freshness.See(1000, 1000 + 33 * frame, 1000 + 33 * frame + 1);
        EXPECT_EQ(verdict.oldInARow, static_cast<std::int32_t>(frame));
        EXPECT_EQ(verdict.hasGoneStale, frame == 18) << frame;
        EXPECT_FALSE(verdict.hasRecovered);
    }
    EXPECT_TRUE(freshness.See(5000, 4990, 5001).hasRecovered);
    EXPECT_FALSE(freshness.See(5033, 5033, 5034).hasRecovered);
}

TEST(MaskFreshness, TakesSeventeenOldMasksForSkipping) {
    MaskFreshness freshness;
    std::uint64_t now = 1000;
    for (int round = 0; round < 5; ++round) {
        const std::uint64_t stamp = now;
        for (int frame = 0; frame < 18; ++frame, now += 33) {
            const auto verdict = freshness.See(stamp, now, now);
            EXPECT_FALSE(verdict.hasGoneStale);
            EXPECT_FALSE(verdict.hasRecovered);
            EXPECT_EQ(verdict.isReused, frame != 0);
        }
    }
}

TEST(MaskFreshness, BeginsAnewWithAMaskWhoseOwnResultWasLost) {
    MaskFreshness freshness;
    for (int frame = 1; frame <= 17; ++frame)
        EXPECT_EQ(freshness.See(1000, 2000, 2001).oldInARow, frame);
    for (int frame = 1; frame <= 17; ++frame) {
        const auto verdict = freshness.See(1500, 2000, 2001);
        EXPECT_EQ(verdict.oldInARow, frame);
        EXPECT_FALSE(verdict.hasGoneStale);
    }
    EXPECT_TRUE(freshness.See(1500, 2000, 2001).hasGoneStale);
    EXPECT_TRUE(freshness.See(1600, 2000, 2001).hasRecovered) << "a mask that is old is another one all the same";
}

TEST(MaskFreshness, BeginsAnewWithAnotherHelper) {
    MaskFreshness freshness;
    for (int frame = 1; frame <= 17; ++frame)
        (void)freshness.See(1000, 2000, 2001);
    freshness.HelperChanges();
    EXPECT_EQ(freshness.See(1000, 2000, 2001).oldInARow, 1);
}

TEST(MaskFreshness, DoesNotCountFramesThatWereSentAheadOfTheMask) {
    MaskFreshness freshness;
    (void)freshness.See(1000, 900, 1000);
    for (int frame = 0; frame < 4; ++frame)
        EXPECT_EQ(freshness.See(1000, 900, 1001).oldInARow, 0);
    for (int frame = 1; frame <= 17; ++frame)
        EXPECT_EQ(freshness.See(1000, 1001, 1002).oldInARow, frame);
    EXPECT_FALSE(freshness.See(1000, 1000, 1002).hasGoneStale) << "neither lengthens the run nor ends it";
    EXPECT_TRUE(freshness.See(1000, 1001, 1002).hasGoneStale);
}

}  // namespace
}  // namespace velmo_parent
