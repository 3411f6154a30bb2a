#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "standin_support/test_engine.h"
#include "support/watchdog.h"

namespace standin_support {
namespace {

constexpr int kRounds = 20;

// Runs a network again and again and counts results that are wrong.
int WrongResults(TestEngine& engine, float shift) {
    int wrong = 0;
    std::vector<float> planes = Planes(256, 144);
    for (float& value : planes)
        value += shift;
    for (int round = 0; round < kRounds; ++round) {
        engine.SetLayer("input", planes.data());
        Library().hvqInfer(engine.Handle());
        if (!engine.TakeError().empty()) ++wrong;
        const float* const mask = engine.Floats("segmentation");
        for (std::size_t i = 0; i < 36864; i += 97) {
            const float sum = planes[i] + planes[36864 + i] + planes[73728 + i] + planes[110592 + i];
            if (mask[i] != sum / 4) ++wrong;
        }
    }
    return wrong;
}

TEST(Threads, RunTwoEnginesAtOnce) {
    const support::Watchdog watchdog;
    std::atomic<int> wrong = 0;
    const auto work = [&wrong](float shift) {
        TestEngine engine;  // made and ended on its thread, too
        engine.CreateNetwork("family2_256x144");
        wrong += WrongResults(engine, shift);
    };

    std::thread first(work, 0.0f);
    std::thread second(work, 1.0f);
    first.join();
    second.join();

    EXPECT_EQ(wrong, 0);
}

TEST(Threads, RunAnEngineWhileAnotherOneIsBroughtUpAndEnded) {
    const support::Watchdog watchdog;
    TestEngine engine;
    engine.CreateNetwork("family2_256x144");
    std::atomic<bool> done = false;
    std::thread bringUp([&done] {
        while (!done) {
            TestEngine other;
            other.CreateNetwork("family1_256x144");
            EXPECT_EQ(other.TakeError(), "");
        }
    });

    EXPECT_EQ(WrongResults(engine, 2.0f), 0);

    done = true;
    bringUp.join();
}

TEST(Threads, ShareOneEngineCallByCall) {
    const support::Watchdog watchdog;
    TestEngine engine;
    engine.CreateNetwork("kinds");
    const auto ask = [&engine] {
        for (int round = 0; round < 200; ++round) {
            std::uint64_t dims[3] = {};
            std::uint64_t count = 3;
            Library().hvqGetLayerDims(engine.Handle(), "sum", dims, &count);
            EXPECT_EQ(count, 3u);
            EXPECT_EQ(Library().hvqHasException(engine.Handle()), 0);
        }
    };

    std::thread other(ask);
    ask();
    other.join();
}

TEST(Threads, ShareACacheFolder) {
    const support::Watchdog watchdog;
    const TemporaryFolder folder;
    const auto start = [&folder] {
        for (int round = 0; round < 5; ++round) {
            TestEngine engine;
            engine.SetCacheFolder("reference_256x144", folder.Path());
            engine.CreateNetwork("reference_256x144");
            EXPECT_EQ(engine.TakeError(), "");
        }
    };

    std::thread other(start);
    start();
    other.join();

    EXPECT_EQ(folder.Files().size(), 1u);
}

}  // namespace
}  // namespace standin_support
