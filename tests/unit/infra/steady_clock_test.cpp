#include "infra/steady_clock.h"

#include <gtest/gtest.h>

#include <cstdint>

#include "support/fake_clock.h"

namespace infra {
namespace {

support::FakeClock* At(support::FakeClock& clock, std::int64_t frequency, std::int64_t counter) {
    clock.SetFrequency(frequency);
    clock.SetCounter(counter);
    return &clock;
}

TEST(NowNs, MultipliesTheUsualFrequencysTicksBy100) {
    support::FakeClock clock;

    EXPECT_EQ(NowNs(*At(clock, 10'000'000, 123'456'789)), 12'345'678'900);
}

TEST(NowNs, TakesSecondsAndTheirRestApart) {
    support::FakeClock clock;

    EXPECT_EQ(NowNs(*At(clock, 3'000'000, 7'000'001)), 2'333'333'666);
    EXPECT_EQ(NowNs(*At(clock, 1'000'000'000, 1'234'567'891)), 1'234'567'891);
    EXPECT_EQ(NowNs(*At(clock, 1, 5)), 5'000'000'000);
    EXPECT_EQ(NowNs(*At(clock, 10'000'001, 10'000'000)), 999'999'900);
    EXPECT_EQ(NowNs(*At(clock, 9'999'999, 10'000'000)), 1'000'000'100);
}

TEST(NowNs, DoesNotOverflowWhereCounterTimesABillionWould) {
    support::FakeClock clock;
    // 100 years at 2.5 GHz: times 1,000,000,000 that is 28 bits too many.
    const std::int64_t seconds = 100LL * 365 * 86'400;

    EXPECT_EQ(NowNs(*At(clock, 2'500'000'000, seconds * 2'500'000'000 + 5)), seconds * 1'000'000'000 + 2);
}

TEST(ElapsedMs, TruncatesTowardsZero) {
    support::FakeClock clock;
    At(clock, 1'000'000'000, 5'000'000'000);
    const std::int64_t now = NowNs(clock);

    EXPECT_EQ(ElapsedMs(now, clock), 0);
    EXPECT_EQ(ElapsedMs(now - 999'999, clock), 0);
    EXPECT_EQ(ElapsedMs(now - 1'000'000, clock), 1);
    EXPECT_EQ(ElapsedMs(now - 1'999'999, clock), 1);
    EXPECT_EQ(ElapsedMs(now + 1'999'999, clock), -1);
}

TEST(NowMs, TruncatesNowNs) {
    support::FakeClock clock;

    EXPECT_EQ(NowMs(*At(clock, 1'000'000'000, 1'999'999)), 1);
    EXPECT_EQ(NowMs(*At(clock, 1'000'000'000, 2'000'000)), 2);
}

TEST(SteadyClock, NeverRunsBackwards) {
    const std::int64_t firstNs = NowNs();
    const std::int64_t firstMs = NowMs();

    EXPECT_GE(NowNs(), firstNs);
    EXPECT_GE(NowMs(), firstMs);
    EXPECT_GE(firstMs, firstNs / 1'000'000);
    EXPECT_GE(ElapsedMs(firstNs), 0);
    EXPECT_GE(ElapsedMs(firstNs - 5'000'000), 5);
}

}  // namespace
}  // namespace infra
