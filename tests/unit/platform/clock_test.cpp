#include "platform/clock.h"

#include <gmock/gmock.h>

#include <chrono>
#include <string>
#include <thread>

#include "child_roles.h"
#include "output_of.h"
#include "platform/standard_streams.h"

namespace {

platform::Clock& TheClock() {
    return platform::SystemClock();
}

const roles::Registered g_counter("counter", [](const auto&) {
    platform::SystemStandardStreams().Write(platform::StandardStream::Output, std::to_string(TheClock().Counter()));
    return 0;
});

TEST(SystemClock, NeverRunsBack) {
    std::int64_t last = TheClock().Counter();
    for (int index = 0; index < 100000; ++index) {
        const std::int64_t now = TheClock().Counter();
        ASSERT_GE(now, last);
        last = now;
    }
}

TEST(SystemClock, HasOneFrequency) {
    EXPECT_GT(TheClock().Frequency(), 0);
    EXPECT_EQ(TheClock().Frequency(), TheClock().Frequency());
}

// Between two readings of the standard library's steady clock, so that a pause of this thread only widens the bounds.
TEST(SystemClock, CountsAsManyTicksPerSecondAsItSays) {
    using std::chrono::steady_clock;
    const auto outerStart = steady_clock::now();
    const std::int64_t start = TheClock().Counter();
    const auto innerStart = steady_clock::now();
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    const auto innerEnd = steady_clock::now();
    const std::int64_t end = TheClock().Counter();
    const auto outerEnd = steady_clock::now();

    const double seconds = static_cast<double>(end - start) / static_cast<double>(TheClock().Frequency());
    constexpr double kRateTolerance = 0.02;  // two clocks of one machine need not be adjusted alike
    EXPECT_GE(seconds, std::chrono::duration<double>(innerEnd - innerStart).count() * (1 - kRateTolerance));
    EXPECT_LE(seconds, std::chrono::duration<double>(outerEnd - outerStart).count() * (1 + kRateTolerance));
}

TEST(SystemClock, CountsTheSameInAllProcesses) {
    const std::int64_t before = TheClock().Counter();
    const std::int64_t inBetween = std::stoll(OutputOf("counter:"));
    const std::int64_t after = TheClock().Counter();

    EXPECT_LE(before, inBetween);
    EXPECT_LE(inBetween, after);
}

TEST(SystemClock, TellsTheWallClocksTime) {
    const auto before = std::chrono::system_clock::now();
    const auto now = TheClock().SystemNow();
    const auto after = std::chrono::system_clock::now();

    EXPECT_LE(before, now);
    EXPECT_LE(now, after);
}

}  // namespace
