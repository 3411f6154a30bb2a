#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <vector>

#include "standin_support/direct_session.h"
#include "standin_support/test_engine.h"

// Every allocation by operator new is counted, of this program and of the libraries that it loads: hvq.dll and ONNX
// Runtime take theirs from here. ONNX Runtime allocates a little in every run; what the library adds to that has to
// be nothing.
namespace {

std::atomic<std::int64_t> g_allocations = 0;

void* Allocate(std::size_t bytes, std::size_t alignment) {
    ++g_allocations;
    const std::size_t size = (bytes + alignment - 1) / alignment * alignment;
    void* const memory = std::aligned_alloc(alignment, size == 0 ? alignment : size);
    if (memory == nullptr) throw std::bad_alloc();
    return memory;
}

}  // namespace

void* operator new(std::size_t bytes) {
    return Allocate(bytes, alignof(std::max_align_t));
}
void* operator new[](std::size_t bytes) {
    return Allocate(bytes, alignof(std::max_align_t));
}
void* operator new(std::size_t bytes, std::align_val_t alignment) {
    return Allocate(bytes, static_cast<std::size_t>(alignment));
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete[](void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t /*bytes*/) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, std::size_t /*bytes*/) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::align_val_t /*alignment*/) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t /*bytes*/, std::align_val_t /*alignment*/) noexcept {
    std::free(memory);
}

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
    const std::int64_t before = g_allocations;
    HvqEngine other = hvq.hvqCreate();
    EXPECT_GT(g_allocations, before);
    hvq.hvqDestory(other);

    const std::int64_t beforeRun = g_allocations;
    Frame(true);
    EXPECT_GT(g_allocations, beforeRun);  // ONNX Runtime's own: or else the comparison below would show nothing
}

TEST_F(Allocations, AreNoneForTheLayersOfAFrame) {
    const std::int64_t before = g_allocations;

    for (int frame = 0; frame < kFrames; ++frame)
        Frame(false);

    EXPECT_EQ(g_allocations, before);
    EXPECT_FALSE(m_failed);
}

TEST_F(Allocations, OfAnInferenceAreTheRuntimesOwn) {
    std::int64_t before = g_allocations;
    for (int frame = 0; frame < kFrames; ++frame)
        Frame(true);
    const std::int64_t ours = g_allocations - before;
    ASSERT_FALSE(m_failed);
    ASSERT_EQ(m_found, 5 * (kFrames + 2));

    // The same network, run by ONNX Runtime alone.
    DirectSession direct(NetworkFile(kNetwork), m_planes);
    direct.Run();
    direct.Run();
    before = g_allocations;
    for (int frame = 0; frame < kFrames; ++frame)
        direct.Run();
    const std::int64_t theirs = g_allocations - before;

    EXPECT_GT(theirs, 0);
    EXPECT_EQ(ours, theirs);
}

}  // namespace
}  // namespace standin_support
