#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <type_traits>

#include "helpers/calyr_output.h"
#include "helpers/hvq_output.h"
#include "helpers/pixel_count.h"

namespace rvo_calyr {
namespace {

calyr_ipc::IpcFrameHeader HeaderOf(std::uint32_t width, std::uint32_t height) {
    calyr_ipc::IpcFrameHeader header{};
    std::memset(&header, 0x5A, sizeof(header));
    header.width = width;
    header.height = height;
    return header;
}

bool AllZero(const auto& values) {
    return std::all_of(values.begin(), values.end(), [](auto value) { return value == 0; });
}

static_assert(std::has_virtual_destructor_v<RvoHvqOutput>);
static_assert(!std::is_copy_constructible_v<RvoCalyrOutput>);

TEST(HvqOutput, BeginsWithStatusFourTheFramesHeaderAndAnEmptyMask) {
    const calyr_ipc::IpcFrameHeader header = HeaderOf(7, 5);
    const RvoHvqOutput output(header);
    EXPECT_EQ(output.status, 4);
    EXPECT_EQ(std::memcmp(&output.header, &header, sizeof(header)), 0);
    EXPECT_EQ(output.maskLength, 35U);
    EXPECT_EQ(output.MaskBytes().size(), 35U);
    EXPECT_EQ(output.MaskBytes().data(), output.mask.get());
    EXPECT_TRUE(AllZero(output.MaskBytes()));
}

TEST(HvqOutput, OfNoPixelsHasAMaskOfNoBytes) {
    for (const auto& header : {HeaderOf(0, 0), HeaderOf(0, 360), HeaderOf(0xFFFFFFFF, 0)}) {
        const RvoHvqOutput output(header);
        EXPECT_EQ(output.maskLength, 0U);
        EXPECT_TRUE(output.MaskBytes().empty());
    }
}

TEST(HvqOutput, AllocatesTheLargestMaskThatARecordHolds) {
    const RvoHvqOutput output(HeaderOf(640, 360));
    EXPECT_EQ(output.maskLength, 230'400U);
    ASSERT_EQ(output.MaskBytes().size(), 230'400U);
    EXPECT_TRUE(AllZero(output.MaskBytes()));
}

TEST(HvqOutput, AllocatesNoMaskThatNoRecordHolds) {
    const RvoHvqOutput output(HeaderOf(230'401, 1));
    EXPECT_EQ(output.maskLength, 230'401U);
    EXPECT_EQ(output.mask, nullptr);
    EXPECT_TRUE(output.MaskBytes().empty());
}

TEST(HvqOutput, NeverTakesAFrameForASmallOneBecauseItsSizeOverflows) {
    // In 32 bits: 65,536, 0, 1, and the greatest there is.
    for (const auto& header : {HeaderOf(65'536, 65'537), HeaderOf(65'536, 65'536), HeaderOf(0xFFFFFFFF, 0xFFFFFFFF),
                               HeaderOf(65'535, 65'537)}) {
        const RvoHvqOutput output(header);
        EXPECT_EQ(output.maskLength, 0xFFFFFFFFU);
        EXPECT_EQ(output.mask, nullptr);
        EXPECT_TRUE(output.MaskBytes().empty());
    }
}

TEST(CalyrOutput, BeginsAsTheOtherOneDoesAndWithEmptyBuffers) {
    const RvoCalyrOutput output(HeaderOf(7, 5));
    EXPECT_EQ(output.status, 4);
    EXPECT_EQ(output.maskLength, 35U);
    EXPECT_TRUE(AllZero(output.MaskBytes()));
    EXPECT_EQ(output.motion, 0U);
    EXPECT_EQ(sizeof(*output.gesture), 36U);
    EXPECT_EQ(sizeof(*output.landmarks), 828'864U);
    EXPECT_EQ(sizeof(*output.lutVertices), 396U);
    EXPECT_EQ(sizeof(*output.lut), 431'244U);
    EXPECT_TRUE(AllZero(*output.gesture));
    EXPECT_TRUE(AllZero(*output.landmarks));
    EXPECT_TRUE(AllZero(*output.lutVertices));
    EXPECT_TRUE(AllZero(*output.lut));
}

TEST(CalyrOutput, HasItsFixedBuffersAlsoWithoutAMask) {
    const RvoCalyrOutput output(HeaderOf(0xFFFFFFFF, 0xFFFFFFFF));
    EXPECT_EQ(output.mask, nullptr);
    EXPECT_NE(output.gesture, nullptr);
    EXPECT_NE(output.landmarks, nullptr);
    EXPECT_NE(output.lutVertices, nullptr);
    EXPECT_NE(output.lut, nullptr);
}

TEST(CalyrOutput, CanBeToldFromThePlainOne) {
    const std::unique_ptr<RvoHvqOutput> plain = std::make_unique<RvoHvqOutput>(HeaderOf(2, 2));
    const std::unique_ptr<RvoHvqOutput> full = std::make_unique<RvoCalyrOutput>(HeaderOf(2, 2));
    EXPECT_EQ(dynamic_cast<RvoCalyrOutput*>(plain.get()), nullptr);
    EXPECT_NE(dynamic_cast<RvoCalyrOutput*>(full.get()), nullptr);
}

TEST(PixelCount, DoesNotOverflow) {
    EXPECT_EQ(PixelCount(HeaderOf(640, 360)), 230'400U);
    EXPECT_EQ(PixelCount(HeaderOf(0xFFFFFFFF, 0xFFFFFFFF)), 0xFFFFFFFE00000001U);
}

}  // namespace
}  // namespace rvo_calyr
