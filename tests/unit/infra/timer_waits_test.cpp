#include "infra/timer_waits.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <mutex>
#include <system_error>
#include <thread>

#include "platform/condition.h"
#include "support/event_flag.h"

namespace infra {
namespace {

using namespace std::chrono_literals;
using std::chrono::system_clock;

TEST(TimerWaits, ReportAWaitWithoutTheMutex) {
    CheckedMutex mutex;
    platform::Condition condition;
    std::unique_lock lock(mutex, std::defer_lock);

    EXPECT_EQ(SystemTimerWaits().WaitUntil(condition, lock, system_clock::now()), std::errc::operation_not_permitted);
}

TEST(TimerWaits, TimeOutAtOnceWhenTheDeadlineHasPassed) {
    CheckedMutex mutex;
    platform::Condition condition;
    std::unique_lock lock(mutex);

    EXPECT_EQ(SystemTimerWaits().WaitUntil(condition, lock, system_clock::now() - 1s), std::errc::timed_out);
    EXPECT_TRUE(lock.owns_lock());
}

TEST(TimerWaits, TimeOutNotBeforeTheDeadline) {
    CheckedMutex mutex;
    platform::Condition condition;
    std::unique_lock lock(mutex);
    for (int i = 0; i < 20; ++i) {
        const system_clock::time_point deadline = system_clock::now() + 1234us * i;

        EXPECT_EQ(SystemTimerWaits().WaitUntil(condition, lock, deadline), std::errc::timed_out) << i;

        EXPECT_GE(system_clock::now(), deadline) << i;
    }
}

// Wakes `condition` over and over until it is destroyed.
class Waker {
 public:
    Waker(CheckedMutex& mutex, platform::Condition& condition)
        : m_thread([this, &mutex, &condition] {
              while (!m_stop) {
                  { const std::unique_lock lock(mutex); }
                  SystemTimerWaits().WakeOne(condition);
                  std::this_thread::yield();
              }
          }) {}
    ~Waker() {
        m_stop = true;
        m_thread.join();
    }

 private:
    std::atomic<bool> m_stop{false};
    std::thread m_thread;
};

TEST(TimerWaits, EndEarlyWhenTheyAreWoken) {
    CheckedMutex mutex;
    platform::Condition condition;
    std::errc outcome;
    {
        std::unique_lock lock(mutex);
        const Waker waker(mutex, condition);
        outcome = SystemTimerWaits().WaitUntil(condition, lock, system_clock::now() + 1h);
        lock.unlock();
    }

    EXPECT_EQ(outcome, std::errc());
}

// However short the wait is: a wake-up that were taken for the time-out would be a tick too early for the timer.
TEST(TimerWaits, TellAWakeUpFromTheTimeOutUpToTheDeadline) {
    for (const auto period : {1ms, 5ms, 10ms, 20ms, 21ms}) {
        CheckedMutex mutex;
        platform::Condition condition;
        std::errc outcome = std::errc::timed_out;
        system_clock::time_point deadline;
        system_clock::time_point end;
        {
            std::unique_lock lock(mutex);
            const Waker waker(mutex, condition);
            const auto giveUp = std::chrono::steady_clock::now() + 60s;
            // On a busy machine the waker itself may sleep that long.
            while (outcome == std::errc::timed_out && std::chrono::steady_clock::now() < giveUp) {
                deadline = system_clock::now() + period;
                outcome = SystemTimerWaits().WaitUntil(condition, lock, deadline);
                end = system_clock::now();
                if (outcome == std::errc::timed_out) {
                    EXPECT_GE(end, deadline);
                }
            }
            lock.unlock();
        }
        EXPECT_EQ(outcome, std::errc()) << period.count();
    }
}

TEST(TimerWaits, ReportAWakeUpAlsoWhenTheMutexComesBackBehindTheDeadline) {
    const auto giveUp = std::chrono::steady_clock::now() + 60s;
    for (bool wokenInTime = false; !wokenInTime;) {
        ASSERT_LT(std::chrono::steady_clock::now(), giveUp);
        CheckedMutex mutex;
        platform::Condition condition;
        support::EventFlag ready;
        std::errc outcome = std::errc::io_error;
        const system_clock::time_point deadline = system_clock::now() + 100ms;
        std::thread waiter([&] {
            std::unique_lock lock(mutex);
            ready.Set();
            outcome = SystemTimerWaits().WaitUntil(condition, lock, deadline);
        });
        ASSERT_TRUE(ready.Wait());
        {
            const std::unique_lock lock(mutex);  // had only once the waiter has let go of it to sleep
            SystemTimerWaits().WakeOne(condition);
            wokenInTime = system_clock::now() < deadline;
            std::this_thread::sleep_until(deadline + 1ms);
        }
        waiter.join();
        if (wokenInTime) {
            EXPECT_EQ(outcome, std::errc());
        }
    }
}

// No wake-up is lost between letting go of the mutex and falling asleep.
TEST(TimerWaits, EndAtOnceWhenTheyAreWokenShortlyAfterTheyBegan) {
    for (int i = 0; i < 200; ++i) {
        CheckedMutex mutex;
        platform::Condition condition;
        support::EventFlag ready;
        std::thread waiter([&] {
            std::unique_lock lock(mutex);
            ready.Set();
            EXPECT_EQ(SystemTimerWaits().WaitUntil(condition, lock, system_clock::now() + 1h), std::errc());
        });
        ASSERT_TRUE(ready.Wait());
        { const std::unique_lock lock(mutex); }
        SystemTimerWaits().WakeOne(condition);
        waiter.join();
    }
}

}  // namespace
}  // namespace infra
