#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "allocation_counter.h"
#include "standin_support/direct_session.h"
#include "standin_support/test_engine.h"

// Every allocation by operator new is counted, of this program and of the libraries that it loads: hvq.dll and ONNX
// Runtime take theirs from here. ONNX Runtime allocates a little in every run; what the library adds to that has to
// be nothing.
namespace standin_support {
namespace {

constexpr int kFrames = 50;
constexpr char kNetwork[] = "family1_256x144";

class Allocations : public testing::Test {
 protected:
    Allocations() {
        engine.CreateNetwork(kNetwork);
        Frame(true);
        Frame(true);  // what grows once has grown
    }

    // The calls of one frame, as the process makes them.
    void Frame(bool infer) {
        hvq.hvqGetLayerDims(e, "input", nullptr, &m_count);
        hvq.hvqGetLayerDims(e, "input", m_dims, &m_count);
        hvq.hvqSetLayerData(e, "input", m_planes.data(), m_dims, m_count);
        if (infer) hvq.hvqInfer(e);
        m_failed |= hvq.hvqHasException(e) != 0;
        for (const char* const layer : {"segmentation", "gesture", "motion", "faces_and_landmarks", "lut", "none"}) {
            m_found += hvq.hvqGetLayerData(e, layer) != nullptr ? 1 : 0;
            m_count = 5;
            if (layer[0] != 'n') hvq.hvqGetLayerDims(e, layer, m_dims, &m_count);
        }
        m_failed |= hvq.hvqHasException(e) != 0;
    }

    const HvqLibrary& hvq = Library();
    TestEngine engine;
    HvqEngine e = engine.Handle();
    std::vector<float> m_planes = Planes(256, 144);
    std::uint64_t m_dims[5] = {};
    std::uint64_t m_count = 0;
    int m_found = 0;
    bool m_failed = false;
};

TEST_F(Allocations, AreCountedInTheLoadedLibrariesToo) {
    const std::int64_t before = AllocationCount();
    HvqEngine other = hvq.hvqCreate();
    EXPECT_GT(AllocationCount(), before);
    hvq.hvqDestory(other);

    const std::int64_t beforeRun = AllocationCount();
    Frame(true);
    EXPECT_GT(AllocationCount(), beforeRun);  // ONNX Runtime's own: or else the comparison below would show nothing
}

TEST_F(Allocations, AreNoneForTheLayersOfAFrame) {
    const std::int64_t before = AllocationCount();

    for (int frame = 0; frame < kFrames; ++frame)
        Frame(false);

    EXPECT_EQ(AllocationCount(), before);
    EXPECT_FALSE(m_failed);
}

TEST_F(Allocations, OfAnInferenceAreTheRuntimesOwn) {
    std::int64_t before = AllocationCount();
    for (int frame = 0; frame < kFrames; ++frame)
        Frame(true);
    const std::int64_t ours = AllocationCount() - before;
    ASSERT_FALSE(m_failed);
    ASSERT_EQ(m_found, 5 * (kFrames + 2));

    // The same network, run by ONNX Runtime alone.
    DirectSession direct(NetworkFile(kNetwork), m_planes);
    direct.Run();
    direct.Run();
    before = AllocationCount();
    for (int frame = 0; frame < kFrames; ++frame)
        direct.Run();
    const std::int64_t theirs = AllocationCount() - before;

    EXPECT_GT(theirs, 0);
    EXPECT_EQ(ours, theirs);
}

// What ONNX Runtime hands out has to be released, too: leak checkers can't tell its own losses from ours.
TEST_F(Allocations, AreAllGivenBackWithTheEngine) {
    const TemporaryFolder cache;
    const auto live = [&] {
        {
            TestEngine other;
            other.SetCacheFolder(kNetwork, cache.Path());
            other.CreateNetwork(kNetwork);
            other.SetLayer("input", m_planes.data());
            hvq.hvqInfer(other.Handle());
            other.CreateNetwork("texts");  // refused, which releases half-made ones
            EXPECT_NE(other.TakeError(), "");
            other.CreateNetwork("gather");
            const std::int64_t bad = 3;
            other.SetLayer("index", &bad);
            hvq.hvqInfer(other.Handle());
            EXPECT_NE(other.TakeError(), "");
        }
        return LiveAllocationCount();
    };
    (void)live();
    const std::int64_t before = live();

    for (int round = 0; round < 5; ++round)
        EXPECT_EQ(live(), before);
}

}  // namespace
}  // namespace standin_support
