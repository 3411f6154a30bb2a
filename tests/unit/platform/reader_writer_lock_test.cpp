#include "platform/reader_writer_lock.h"

#include <gmock/gmock.h>

#include <atomic>
#include <future>
#include <mutex>
#include <shared_mutex>
#include <thread>
#include <vector>

namespace {

using platform::ReaderWriterLock;

constinit ReaderWriterLock g_lock;  // usable before any constructor runs

TEST(ReaderWriterLock, IsReadyAsAGlobal) {
    const std::unique_lock exclusive(g_lock);

    EXPECT_TRUE(exclusive.owns_lock());
}

// Neither thread gets on before both are inside.
TEST(ReaderWriterLock, LetsReadersInTogether) {
    ReaderWriterLock lock;
    std::promise<void> oneIsInside;
    std::promise<void> twoIsInside;
    const auto read = [&](std::promise<void>& mine, std::promise<void>& other) {
        const std::shared_lock shared(lock);
        mine.set_value();
        other.get_future().wait();
    };

    std::thread one([&] { read(oneIsInside, twoIsInside); });
    std::thread two([&] { read(twoIsInside, oneIsInside); });

    one.join();
    two.join();
    SUCCEED();
}

TEST(ReaderWriterLock, LetsOneWriterInAtATime) {
    constexpr int kThreads = 4;
    constexpr int kRounds = 20000;
    ReaderWriterLock lock;
    int count = 0;
    std::vector<std::thread> writers;
    for (int index = 0; index < kThreads; ++index) {
        writers.emplace_back([&] {
            for (int round = 0; round < kRounds; ++round) {
                const std::unique_lock exclusive(lock);
                ++count;
            }
        });
    }
    for (std::thread& writer : writers)
        writer.join();

    EXPECT_EQ(count, kThreads * kRounds);
}

TEST(ReaderWriterLock, KeepsWritersOutWhileSomebodyReads) {
    constexpr int kRounds = 20000;
    ReaderWriterLock lock;
    int first = 0;
    int second = 0;  // equal to first whenever nobody writes
    std::atomic<bool> done{false};
    std::thread writer([&] {
        for (int round = 0; round < kRounds; ++round) {
            const std::unique_lock exclusive(lock);
            ++first;
            ++second;
        }
        done = true;
    });

    bool alwaysEqual = true;
    while (!done) {
        {
            const std::shared_lock shared(lock);
            alwaysEqual = alwaysEqual && first == second;
        }
        std::this_thread::yield();  // a reader that comes back at once could keep the writer out for long
    }

    writer.join();
    EXPECT_TRUE(alwaysEqual);
    EXPECT_EQ(second, kRounds);
}

}  // namespace
