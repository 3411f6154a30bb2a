#include "infra/timer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "support/event_flag.h"
#include "support/fake_clock.h"
#include "support/fake_threads.h"
#include "support/fake_timer_waits.h"

namespace infra {
namespace {

using namespace std::chrono_literals;
using support::EventFlag;
using ::testing::ElementsAre;

constexpr auto kTimedOut = std::errc::timed_out;
constexpr auto kWoken = std::errc();

std::string ErrorOf(const std::function<void()>& action) {
    try {
        action();
    } catch (const std::system_error& error) {
        return error.what();
    }
    return "nothing was thrown";
}

// Counts ticks and does with each what the test wants.
class TickSink final : public AbstractTimerSink {
 public:
    void OnTimer(Timer& timer) override {
        lastTimer = &timer;
        ++ticks;
        onTick();
    }

    std::int32_t ticks = 0;
    Timer* lastTimer = nullptr;
    std::function<void()> onTick = [] {};
};

// A timer whose run is done by the test itself, without waiting.
class ScriptedTimer : public testing::Test {
 protected:
    ScriptedTimer() {
        threads.HoldBodies();
        clock.SetSystemNow(start);
    }

    // Starts and runs with these outcomes of the waits; the timer is stopped in the wait behind them.
    void Run(AbstractTimerSink* to, std::uint32_t periodMs, std::uint32_t count, std::vector<std::errc> outcomes) {
        waits.Script(std::move(outcomes), [this] { timer.Stop(); });
        timer.Start(to, periodMs, count);
        ASSERT_TRUE(threads.RunHeld());
    }

    const std::chrono::system_clock::time_point start{std::chrono::hours(500)};
    support::FakeThreads threads;
    support::FakeClock clock;
    support::FakeTimerWaits waits;
    TickSink sink;
    Timer timer{threads, clock, waits};
};

TEST_F(ScriptedTimer, FiresAtEachTimeOutWithItself) {
    Run(&sink, 1000, 0, {kTimedOut, kTimedOut});

    EXPECT_EQ(sink.ticks, 2);
    EXPECT_EQ(sink.lastTimer, &timer);
    EXPECT_EQ(waits.Deadlines().size(), 3u);
}

TEST_F(ScriptedTimer, WaitsAPeriodFromTheEndOfEachCallback) {
    sink.onTick = [this] { clock.Advance(1500ms); };

    Run(&sink, 1000, 0, {kTimedOut, kTimedOut});

    EXPECT_THAT(waits.Deadlines(), ElementsAre(start + 1s, start + 1500ms + 1s, start + 3s + 1s));
}

TEST_F(ScriptedTimer, BeginsAWholePeriodAnewAfterASpuriousWakeUp) {
    Run(&sink, 1000, 2, {kWoken, kTimedOut, kWoken, kTimedOut});

    EXPECT_EQ(sink.ticks, 2);
    EXPECT_EQ(waits.Deadlines().size(), 4u);
    timer.Stop();
}

TEST_F(ScriptedTimer, TakesTheDeadlineAnewFromTheClockAfterASpuriousWakeUp) {
    waits.Meanwhile([this] { clock.Advance(400ms); });

    Run(&sink, 1000, 0, {kWoken});

    EXPECT_THAT(waits.Deadlines(), ElementsAre(start + 1s, start + 400ms + 1s));
    EXPECT_EQ(sink.ticks, 0);
}

TEST_F(ScriptedTimer, EndsAfterTheCountWithTheThreadStillAttached) {
    Run(&sink, 10, 3, {kTimedOut, kTimedOut, kTimedOut, kTimedOut});

    EXPECT_EQ(sink.ticks, 3);
    EXPECT_EQ(waits.Deadlines().size(), 3u);
    EXPECT_EQ(threads.JoinedCount(), 0);
    timer.Stop();
    EXPECT_EQ(threads.JoinedCount(), 1);
}

TEST_F(ScriptedTimer, StaysStartedWhenItsCountIsUsedUp) {
    Run(&sink, 10, 1, {kTimedOut});

    EXPECT_EQ(ErrorOf([this] { timer.Start(&sink, 10, 1); }), "device or resource busy");
    EXPECT_EQ(threads.StartedCount(), 1);

    timer.Stop();
    EXPECT_NO_THROW(timer.Start(&sink, 10, 1));
    EXPECT_EQ(threads.StartedCount(), 2);
    timer.Stop();
}

TEST_F(ScriptedTimer, CountsTicksThatHaveNoSink) {
    Run(nullptr, 10, 2, {kTimedOut, kTimedOut, kTimedOut});

    EXPECT_EQ(waits.Deadlines().size(), 2u);
    timer.Stop();
}

TEST_F(ScriptedTimer, FiresWithoutWaitingWhenThePeriodIs0) {
    Run(&sink, 0, 5, {});

    EXPECT_EQ(sink.ticks, 5);
    EXPECT_TRUE(waits.Deadlines().empty());
    timer.Stop();
}

TEST_F(ScriptedTimer, FiresAtTheLongestPeriod) {
    Run(&sink, 864'000'000, 1, {kTimedOut});

    EXPECT_EQ(sink.ticks, 1);
    EXPECT_THAT(waits.Deadlines(), ElementsAre(start + 240h));
    timer.Stop();
}

TEST_F(ScriptedTimer, NeverFiresAboveTheLongestPeriodAndWaitsTenDays) {
    Run(&sink, 864'000'001, 1, {kTimedOut, kWoken, kTimedOut});

    EXPECT_EQ(sink.ticks, 0);
    EXPECT_THAT(waits.Deadlines(), ElementsAre(start + 240h, start + 240h, start + 240h, start + 240h));
}

TEST_F(ScriptedTimer, NeverFiresAtTheGreatestPeriodThatCanBeGiven) {
    Run(&sink, 0xFFFFFFFF, 1, {kTimedOut});

    EXPECT_EQ(sink.ticks, 0);
    EXPECT_THAT(waits.Deadlines(), ElementsAre(start + 240h, start + 240h));
}

TEST_F(ScriptedTimer, DoesNothingWhenItWasStoppedBeforeItsThreadRan) {
    timer.Start(&sink, 0, 0);
    timer.Stop();

    ASSERT_TRUE(threads.RunHeld());

    EXPECT_EQ(sink.ticks, 0);
    EXPECT_TRUE(waits.Deadlines().empty());
}

TEST_F(ScriptedTimer, DoesNotCallTheSinkWhenItIsStoppedJustBeforeATimeOut) {
    // The wait times out, but Stop gets the mutex before the timer's thread does.
    class StoppedWaits final : public TimerWaits {
     public:
        std::errc WaitUntil(platform::Condition& /*condition*/, std::unique_lock<CheckedMutex>& lock,
                            std::chrono::system_clock::time_point /*deadline*/) override {
            lock.unlock();
            timer->Stop();
            lock.lock();
            return kTimedOut;
        }
        void WakeOne(platform::Condition& /*condition*/) override {}

        Timer* timer = nullptr;
    };
    StoppedWaits stopped;
    Timer other(threads, clock, stopped);
    stopped.timer = &other;
    other.Start(&sink, 10, 0);

    ASSERT_TRUE(threads.RunHeld());

    EXPECT_EQ(sink.ticks, 0);
}

TEST_F(ScriptedTimer, LetsAFailedWaitOutOfItsThread) {
    waits.Script({kTimedOut, std::errc::operation_not_permitted}, [this] { timer.Stop(); });
    timer.Start(&sink, 10, 0);

    EXPECT_EQ(ErrorOf([this] { threads.RunHeld(); }), "operation not permitted");

    EXPECT_EQ(sink.ticks, 1);
    timer.Stop();
}

TEST_F(ScriptedTimer, LetsTheSinksExceptionOutOfItsThread) {
    sink.onTick = [] { throw std::runtime_error("sink failed"); };
    waits.Script({kTimedOut}, [this] { timer.Stop(); });
    timer.Start(&sink, 10, 0);

    EXPECT_THROW(threads.RunHeld(), std::runtime_error);

    timer.Stop();
}

TEST_F(ScriptedTimer, CannotBeStoppedFromItsOwnCallback) {
    std::string error;
    sink.onTick = [&] { error = ErrorOf([this] { timer.Stop(); }); };

    Run(&sink, 10, 0, {kTimedOut, kTimedOut});

    EXPECT_EQ(error, "device or resource busy");
    EXPECT_EQ(sink.ticks, 2) << "the run did not go on";
}

TEST_F(ScriptedTimer, CannotBeStartedFromItsOwnCallback) {
    std::string error;
    sink.onTick = [&] { error = ErrorOf([this] { timer.Start(&sink, 10, 0); }); };

    Run(&sink, 10, 1, {kTimedOut});

    EXPECT_EQ(error, "device or resource busy");
    EXPECT_EQ(threads.StartedCount(), 1);
    timer.Stop();
}

TEST_F(ScriptedTimer, StaysStartedWhenThereIsNoThread) {
    threads.RefuseNextStart();

    EXPECT_EQ(ErrorOf([this] { timer.Start(&sink, 10, 0); }), "resource unavailable try again");

    EXPECT_EQ(ErrorOf([this] { timer.Start(&sink, 10, 0); }), "device or resource busy");
    timer.Stop();
    EXPECT_EQ(threads.JoinedCount(), 0);
    EXPECT_NO_THROW(timer.Start(&sink, 10, 0));
    timer.Stop();
}

TEST_F(ScriptedTimer, ReportsAJoinThatFailsAndCanBeStoppedAgain) {
    timer.Start(&sink, 10, 0);
    threads.FailNextJoin();

    EXPECT_EQ(ErrorOf([this] { timer.Stop(); }), "no such process");

    EXPECT_EQ(threads.JoinedCount(), 0);
    timer.Stop();
    EXPECT_EQ(threads.JoinedCount(), 1);
}

TEST_F(ScriptedTimer, RefusesToJoinTheCallingThread) {
    timer.Start(&sink, 10, 0);
    threads.ClaimToBeCurrent(true);

    EXPECT_EQ(ErrorOf([this] { timer.Stop(); }), "resource deadlock would occur");

    threads.ClaimToBeCurrent(false);
    timer.Stop();
    EXPECT_EQ(threads.JoinedCount(), 1);
}

TEST_F(ScriptedTimer, WakesItsThreadAtEachStop) {
    timer.Stop();
    timer.Stop();

    EXPECT_EQ(waits.WakeCount(), 2);
    EXPECT_EQ(threads.JoinedCount(), 0);
}

TEST_F(ScriptedTimer, StopsWhenItIsDestroyed) {
    {
        Timer other(threads, clock, waits);
        other.Start(&sink, 10, 0);
    }

    EXPECT_EQ(threads.JoinedCount(), 1);
}

TEST(Timer, StopsAtOnceWhenItWasNeverStarted) {
    Timer timer;

    EXPECT_NO_THROW(timer.Stop());
    EXPECT_NO_THROW(timer.Stop());
}

TEST(Timer, FiresACountOfTimesAPeriodApart) {
    const auto begin = std::chrono::steady_clock::now();
    std::vector<std::chrono::steady_clock::time_point> times;
    EventFlag done;
    TickSink sink;
    sink.onTick = [&] {
        times.push_back(std::chrono::steady_clock::now());
        if (times.size() == 3) {
            done.Set();
        }
    };
    Timer timer;

    timer.Start(&sink, 10, 3);
    ASSERT_TRUE(done.Wait());
    EXPECT_EQ(ErrorOf([&] { timer.Start(&sink, 10, 3); }), "device or resource busy");
    timer.Stop();

    ASSERT_EQ(times.size(), 3u);
    // The deadlines are on the wall clock: a bound as strict as the steady clock's drift against it allows.
    EXPECT_GE(times[0] - begin, 9ms);
    EXPECT_GE(times[1] - times[0], 9ms);
    EXPECT_GE(times[2] - times[1], 9ms);
    EXPECT_LT(times[2] - begin, 30s);
}

TEST(Timer, GoesOnUndisturbedWhenItIsStartedTwice) {
    EventFlag twoMore;
    TickSink first;
    TickSink second;
    EventFlag begun;
    std::atomic<bool> countsOn{false};
    std::int32_t after = 0;
    first.onTick = [&] {
        begun.Set();
        if (countsOn && ++after == 2) {
            twoMore.Set();
        }
    };
    Timer timer;
    timer.Start(&first, 1, 0);
    ASSERT_TRUE(begun.Wait());

    EXPECT_EQ(ErrorOf([&] { timer.Start(&second, 1, 0); }), "device or resource busy");
    countsOn = true;

    EXPECT_TRUE(twoMore.Wait());
    timer.Stop();
    EXPECT_EQ(second.ticks, 0);
}

TEST(Timer, CanBeStartedAgainAfterStop) {
    Timer timer;
    for (int i = 0; i < 3; ++i) {
        EventFlag fired;
        TickSink sink;
        sink.onTick = [&] { fired.Set(); };
        timer.Start(&sink, 1, 1);
        EXPECT_TRUE(fired.Wait());
        timer.Stop();
        EXPECT_EQ(sink.ticks, 1);
    }
}

TEST(Timer, StopsALongWaitAtOnce) {
    const auto begin = std::chrono::steady_clock::now();
    TickSink sink;
    Timer timer;
    timer.Start(&sink, 3'600'000, 0);

    timer.Stop();

    EXPECT_LT(std::chrono::steady_clock::now() - begin, 60s);
    EXPECT_EQ(sink.ticks, 0);
}

TEST(Timer, StopsFromAnotherThreadOnlyWhenTheCallbackHasReturned) {
    EventFlag entered;
    EventFlag letGo;
    EventFlag stopped;
    TickSink sink;
    bool hasReturned = false;  // plain: Stop orders it
    sink.onTick = [&] {
        entered.Set();
        EXPECT_TRUE(letGo.Wait());
        hasReturned = true;
    };
    Timer timer;
    timer.Start(&sink, 1, 0);
    ASSERT_TRUE(entered.Wait());

    bool seenReturned = false;
    std::thread stopping([&] {
        timer.Stop();
        seenReturned = hasReturned;
        stopped.Set();
    });
    EXPECT_FALSE(stopped.Wait(100ms)) << "stopped while a callback ran";
    letGo.Set();
    EXPECT_TRUE(stopped.Wait());
    stopping.join();

    EXPECT_TRUE(seenReturned);
}

TEST(Timer, CallsASinkNoMoreOnceItIsStopped) {
    Timer timer;
    for (int i = 0; i < 50; ++i) {
        auto sink = std::make_unique<TickSink>();
        timer.Start(sink.get(), 1, 0);
        timer.Stop();
        sink.reset();  // a late call would use what is gone, which the sanitizers see
    }
}

#if GTEST_HAS_DEATH_TEST

class TimerDeathTest : public ScriptedTimer {
 protected:
    TimerDeathTest() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

TEST_F(TimerDeathTest, EndsTheProcessWhenItsThreadCannotBeJoinedInTheDestructor) {
    EXPECT_DEATH(
        {
            Timer other(threads, clock, waits);
            other.Start(&sink, 10, 0);
            threads.FailNextJoin();
        },
        "no such process");
}

TEST_F(TimerDeathTest, EndsTheProcessWhenAThreadIsStillAttachedAtStart) {
    EXPECT_DEATH(
        {
            timer.Start(&sink, 10, 0);
            threads.FailNextJoin();
            (void)ErrorOf([this] { timer.Stop(); });
            timer.Start(&sink, 10, 0);
        },
        "");
}

TEST_F(TimerDeathTest, EndsTheProcessWhenAWaitFailsOnItsThread) {
    EXPECT_DEATH(
        {
            support::FakeThreads real;
            Timer other(real, clock, waits);
            waits.Script({std::errc::operation_not_permitted}, [] {});
            other.Start(&sink, 10, 0);
            EventFlag never;
            (void)never.Wait();
        },
        "operation not permitted");
}

TEST_F(TimerDeathTest, EndsTheProcessWhenItsSinkThrows) {
    EXPECT_DEATH(
        {
            Timer other;
            sink.onTick = [] { throw std::runtime_error("sink failed"); };
            other.Start(&sink, 1, 0);
            EventFlag never;
            (void)never.Wait();
        },
        "sink failed");
}

#endif

}  // namespace
}  // namespace infra
