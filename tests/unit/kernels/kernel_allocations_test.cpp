#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "helpers/kernels/content_change.h"
#include "kernel_versions.h"
#include "support/allocation_counter.h"

namespace rvo_calyr::kernels {
namespace {

class FastKernelsAllocations : public testing::TestWithParam<const Kernels*> {};

TEST_P(FastKernelsAllocations, AreNoneInAnyFunction) {
    constexpr std::size_t kPixels = std::size_t{640} * 360;
    std::vector<std::uint8_t> mask(kPixels, 0);
    for (std::size_t i = 0; i < kPixels; i += 97) {
        mask[i] = 255;
    }
    const std::vector<std::uint8_t> frame(3 * kPixels, 5);
    const std::vector<std::uint8_t> reference(3 * kPixels, 50);
    std::vector<float> floats(4 * kPixels);
    std::vector<std::uint8_t> map(kPixels);
    std::vector<std::uint8_t> previousMask(kPixels);
    const std::int64_t before = AllocationCount();

    std::uint32_t count = 0;
    GetParam()->buildEdgeMap(640, 360, mask.data(), count, map.data());
    std::int32_t skipCount = 0;
    std::int32_t permille = 0;
    DetectContentChange(*GetParam(), 640 * 360, frame.data(), reference.data(), map.data(),
                        static_cast<std::int32_t>(count), skipCount, 2, &permille);
    GetParam()->widenBytes(frame.data(), frame.size(), floats.data());
    GetParam()->convertMask(floats.data(), kPixels, mask.data());
    const std::uint64_t sum = GetParam()->convertMaskTwice(floats.data(), kPixels, mask.data(), previousMask.data());

    EXPECT_EQ(AllocationCount(), before);
    EXPECT_EQ(permille, 1000);
    EXPECT_EQ(sum, 5 * kPixels);
}

INSTANTIATE_TEST_SUITE_P(Versions, FastKernelsAllocations, testing::ValuesIn(FastVersions()), kVersionName);
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(FastKernelsAllocations);

TEST(PlainKernelsAllocations, AreTheEdgeMapsTable) {
    const std::vector<std::uint8_t> mask(100, 0);
    std::vector<std::uint8_t> map(100);
    std::uint32_t count = 0;
    const std::int64_t before = AllocationCount();

    PlainKernels().buildEdgeMap(10, 10, mask.data(), count, map.data());

    EXPECT_EQ(AllocationCount(), before + 1);
}

}  // namespace
}  // namespace rvo_calyr::kernels
