#include "infra/timer_waits.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

namespace infra {
namespace {

using namespace std::chrono_literals;
using std::chrono::system_clock;

TEST(TimerWaits, ReportAWaitWithoutTheMutex) {
    CheckedMutex mutex;
    std::condition_variable_any condition;
    std::unique_lock lock(mutex, std::defer_lock);

    EXPECT_EQ(SystemTimerWaits().WaitUntil(condition, lock, system_clock::now()), std::errc::operation_not_permitted);
}

TEST(TimerWaits, TimeOutAtOnceWhenTheDeadlineHasPassed) {
    CheckedMutex mutex;
    std::condition_variable_any condition;
    std::unique_lock lock(mutex);

    EXPECT_EQ(SystemTimerWaits().WaitUntil(condition, lock, system_clock::now() - 1s), std::errc::timed_out);
    EXPECT_TRUE(lock.owns_lock());
}

TEST(TimerWaits, TimeOutNotBeforeTheDeadline) {
    CheckedMutex mutex;
    std::condition_variable_any condition;
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
    Waker(CheckedMutex& mutex, std::condition_variable_any& condition)
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
    std::condition_variable_any condition;
    std::errc outcome;
    {
        std::unique_lock lock(mutex);
        const Waker waker(mutex, condition);
        outcome = SystemTimerWaits().WaitUntil(condition, lock, system_clock::now() + 1h);
        lock.unlock();
    }

    EXPECT_EQ(outcome, std::errc());
}

// A wait that the system ends a tick early looks the same, and must not cost the timer a period.
TEST(TimerWaits, TakeAWakeUpJustBeforeTheDeadlineForTheTimeOut) {
    CheckedMutex mutex;
    std::condition_variable_any condition;
    system_clock::time_point deadline;
    system_clock::time_point end;
    std::errc outcome;
    {
        std::unique_lock lock(mutex);
        const Waker waker(mutex, condition);
        deadline = system_clock::now() + 15ms;
        outcome = SystemTimerWaits().WaitUntil(condition, lock, deadline);
        end = system_clock::now();
        lock.unlock();
    }

    EXPECT_EQ(outcome, std::errc::timed_out);
    EXPECT_GE(end, deadline);
}

}  // namespace
}  // namespace infra
