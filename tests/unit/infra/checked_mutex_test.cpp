#include "infra/checked_mutex.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <thread>
#include <vector>

#include "support/event_flag.h"

namespace infra {
namespace {

TEST(CheckedMutex, ThrowsWhenOneThreadLocksItTwiceAndStaysLocked) {
    CheckedMutex mutex;
    mutex.lock();

    try {
        mutex.lock();
        FAIL() << "nothing was thrown";
    } catch (const std::system_error& error) {
        EXPECT_STREQ(error.what(), "device or resource busy");
    }

    support::EventFlag entered;
    std::thread other([&] {
        const std::unique_lock lock(mutex);
        entered.Set();
    });
    EXPECT_FALSE(entered.Wait(std::chrono::milliseconds(50)));
    mutex.unlock();
    EXPECT_TRUE(entered.Wait());
    other.join();
}

TEST(CheckedMutex, CanBeLockedAgainOnceItIsUnlocked) {
    CheckedMutex mutex;
    mutex.lock();
    mutex.unlock();

    EXPECT_NO_THROW(mutex.lock());

    mutex.unlock();
}

TEST(CheckedMutex, LetsOneThreadInAtATime) {
    constexpr int kThreads = 4;
    constexpr int kRounds = 2000;
    CheckedMutex mutex;
    std::int64_t counter = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&] {
            for (int round = 0; round < kRounds; ++round) {
                const std::unique_lock lock(mutex);
                ++counter;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }

    EXPECT_EQ(counter, kThreads * kRounds);
}

}  // namespace
}  // namespace infra
