#include "platform/reader_writer_lock.h"

#include <gmock/gmock.h>

#include <atomic>
#include <barrier>
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
    std::barrier bothInside(2);
    const auto read = [&] {
        const std::shared_lock shared(lock);
        bothInside.arrive_and_wait();
    };

    std::thread one(read);
    std::thread two(read);

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
