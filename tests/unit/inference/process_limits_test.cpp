#include "helpers/process_limits.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace rvo_calyr {
namespace {

TEST(EveryThirtieth, LetsTheFirstOfEveryThirtyThrough) {
    EveryThirtieth limit;
    for (int occurrence = 1; occurrence <= 200; ++occurrence)
        EXPECT_EQ(limit.IsDue(), occurrence % 30 == 1) << occurrence;
}

TEST(EveryThirtieth, CountsTheOccurrencesOfAllThreads) {
    EveryThirtieth limit;
    std::atomic<int> due{0};
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&] {
            for (int occurrence = 0; occurrence < 300; ++occurrence)
                due += limit.IsDue() ? 1 : 0;
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(due, 40);
    EXPECT_TRUE(limit.IsDue());
}

TEST(Once, LetsTheFirstThroughAndNoOther) {
    Once limit;
    EXPECT_TRUE(limit.IsDue());
    for (int occurrence = 0; occurrence < 100; ++occurrence)
        EXPECT_FALSE(limit.IsDue());
}

TEST(Once, LetsOneOfAllThreadsThrough) {
    for (int round = 0; round < 50; ++round) {
        Once limit;
        std::atomic<int> due{0};
        std::vector<std::thread> threads;
        for (int thread = 0; thread < 4; ++thread)
            threads.emplace_back([&] { due += limit.IsDue() ? 1 : 0; });
        for (std::thread& thread : threads)
            thread.join();
        EXPECT_EQ(due, 1);
    }
}

TEST(TheProcessLimits, AreOneObject) {
    EXPECT_EQ(&TheProcessLimits(), &TheProcessLimits());
}

}  // namespace
}  // namespace rvo_calyr
