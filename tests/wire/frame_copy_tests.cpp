// What the outputs and the input put into their slots, byte by byte. Offsets are written out by hand: the peer's.

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "byte_image.h"
#include "helpers/calyr_output.h"
#include "helpers/hvq_input.h"
#include "helpers/hvq_output.h"

using namespace calyr_ipc;
using rvo_calyr::RvoCalyrOutput;
using rvo_calyr::RvoHvqInput;
using rvo_calyr::RvoHvqOutput;

namespace {

constexpr std::uint32_t kFloatOne = 0x3F800000;
constexpr std::uint32_t kFloatMinusTwo = 0xC0000000;

// Some values other than 0.
constexpr std::int32_t kFailures[] = {2, 3, 4, 7, -1};

void PutHeader(ByteImage& bytes, std::size_t at, std::uint32_t width, std::uint32_t height) {
    bytes.Put32(at, 0x0A0B0C0D)
        .Put32(at + 4, width)
        .Put32(at + 8, height)
        .Put32(at + 12, 0x1A1B1C1D)
        .Put64(at + 16, 0x0102030405060708)
        .Put64(at + 24, 0x1112131415161718);
}

IpcFrameHeader MakeHeader(std::uint32_t width, std::uint32_t height) {
    ByteImage bytes(32);
    PutHeader(bytes, 0, width, height);
    IpcFrameHeader header{};
    std::memcpy(&header, bytes.Bytes().data(), sizeof(header));
    return header;
}

void PutZeros(ByteImage& bytes, std::size_t from, std::size_t end) {
    for (std::size_t at = from; at < end; ++at)
        bytes.Put8(at, 0);
}

// What a copy makes of a slot whose every byte was 0xCC.
template <class Slot, class Source>
ByteImage Copied(const Source& source) {
    auto slot = ByteImage::Blank<Slot>();
    source.CopyToIpcRecord(*slot);
    return ByteImage::Of(*slot);
}

// Equality of large images, told by the first byte that differs.
void ExpectSame(const ByteImage& image, const ByteImage& expected) {
    ASSERT_EQ(image.Bytes().size(), expected.Bytes().size());
    for (std::size_t at = 0; at < expected.Bytes().size(); ++at) {
        ASSERT_EQ(image[at], expected[at]) << "at offset " << at;
    }
}

// The slot of a frame without a result: a status, zeros up to the end of the record, which lies at `end`, and its
// index.
ByteImage WithoutResult(std::int32_t status, std::size_t end, std::uint8_t index) {
    ByteImage bytes(1491000);
    bytes.Put32(0, static_cast<std::uint32_t>(status));
    PutZeros(bytes, 8, end);
    bytes.Put8(1490992, index);
    return bytes;
}
ByteImage MaskRecordWithoutResult(std::int32_t status) {
    return WithoutResult(status, 230444, 0);
}
ByteImage FullRecordWithoutResult(std::int32_t status) {
    return WithoutResult(status, 1490988, 1);
}

TEST(MaskRecord, HoldsHeaderAndMaskOfASuccess) {
    RvoHvqOutput output(MakeHeader(640, 360));
    output.status = 0;
    std::memset(output.mask.get(), 0x77, 230400);
    output.mask[0] = 11;
    output.mask[230399] = 22;

    ByteImage expected(1491000);
    expected.Put32(0, 0);  // 4 to 7 is padding
    PutHeader(expected, 8, 640, 360);
    for (std::size_t at = 40; at < 230440; ++at)
        expected.Put8(at, 0x77);
    expected.Put8(40, 11).Put8(230439, 22).Put32(230440, 230400);
    expected.Put8(1490992, 0);  // and what lies between the record and the index is left
    ExpectSame(Copied<OutputSlot>(output), expected);
}

TEST(MaskRecord, HasZerosBehindASmallMask) {
    RvoHvqOutput output(MakeHeader(3, 1));
    output.status = 0;
    std::memcpy(output.mask.get(), "abc", 3);

    ByteImage expected(1491000);
    expected.Put32(0, 0);
    PutHeader(expected, 8, 3, 1);
    PutZeros(expected, 40, 230440);
    expected.PutText(40, "abc").Put32(230440, 3).Put8(1490992, 0);
    ExpectSame(Copied<OutputSlot>(output), expected);
}

TEST(MaskRecord, HoldsTheStatusOfAFailureAndZeros) {
    for (const std::int32_t status : kFailures) {
        SCOPED_TRACE(status);
        RvoHvqOutput output(MakeHeader(640, 360));
        output.status = status;
        std::memset(output.mask.get(), 0x77, 230400);

        ExpectSame(Copied<OutputSlot>(output), MaskRecordWithoutResult(status));
    }
}

TEST(MaskRecord, OfAFrameThatIsOnePixelTooLargeIsAnEmptySuccess) {
    RvoHvqOutput output(MakeHeader(230401, 1));
    output.status = 0;

    ExpectSame(Copied<OutputSlot>(output), MaskRecordWithoutResult(0));
}

TEST(MaskRecord, OfAFreshOutputHoldsStatusFourAndZeros) {
    ExpectSame(Copied<OutputSlot>(RvoHvqOutput(MakeHeader(256, 144))), MaskRecordWithoutResult(4));
}

// A full output with a value at both ends of each field.
void FillEnds(RvoCalyrOutput& output) {
    output.motion = 0x01020304;
    output.gesture->front() = 1.0F;
    output.gesture->back() = -2.0F;
    output.landmarks->front() = 1.0F;
    output.landmarks->back() = -2.0F;
    output.lutVertices->front() = 1.0F;
    output.lutVertices->back() = -2.0F;
    output.lut->front() = 1.0F;
    output.lut->back() = -2.0F;
    if (!output.MaskBytes().empty()) {
        output.MaskBytes().front() = 11;
        output.MaskBytes().back() = 22;
    }
}

TEST(FullRecord, HoldsEverythingOfASuccess) {
    RvoCalyrOutput output(MakeHeader(640, 360));
    output.status = 0;
    FillEnds(output);

    ByteImage expected(1491000);
    expected.Put32(0, 0);  // 4 to 7 is padding
    PutHeader(expected, 8, 640, 360);
    PutZeros(expected, 40, 1490988);
    expected.Put8(40, 11).Put8(230439, 22);
    expected.Put32(230440, kFloatOne).Put32(230472, kFloatMinusTwo).Put32(230476, 230400);
    expected.Put32(230480, kFloatOne).Put32(1059340, kFloatMinusTwo).Put32(1059344, 0x01020304);
    expected.Put32(1059348, kFloatOne).Put32(1059740, kFloatMinusTwo);
    expected.Put32(1059744, kFloatOne).Put32(1490984, kFloatMinusTwo);  // 1490988 to 1490991 is padding
    expected.Put8(1490992, 1);
    ExpectSame(Copied<OutputSlot>(output), expected);
}

TEST(FullRecord, HasZerosBehindASmallMask) {
    RvoCalyrOutput output(MakeHeader(256, 144));
    output.status = 0;
    FillEnds(output);

    const ByteImage image = Copied<OutputSlot>(output);

    EXPECT_EQ(image.Get32(230476), 36864U);
    EXPECT_EQ(image[40], 11);
    EXPECT_EQ(image[40 + 36863], 22);
    for (std::size_t at = 40 + 36864; at < 230440; ++at)
        ASSERT_EQ(image[at], 0) << at;
    EXPECT_EQ(image.Get32(230440), kFloatOne);
}

TEST(FullRecord, HoldsTheStatusOfAFailureAndZeros) {
    for (const std::int32_t status : kFailures) {
        SCOPED_TRACE(status);
        RvoCalyrOutput output(MakeHeader(640, 360));
        output.status = status;
        FillEnds(output);

        ExpectSame(Copied<OutputSlot>(output), FullRecordWithoutResult(status));
    }
}

TEST(FullRecord, OfAFrameThatIsOnePixelTooLargeIsAnEmptySuccess) {
    RvoCalyrOutput output(MakeHeader(1, 230401));
    output.status = 0;
    FillEnds(output);

    ExpectSame(Copied<OutputSlot>(output), FullRecordWithoutResult(0));
}

TEST(FullRecord, WipesWhatAMaskRecordLeftBehind) {
    const auto slot = ByteImage::Blank<OutputSlot>();
    RvoHvqOutput(MakeHeader(640, 360)).CopyToIpcRecord(*slot);
    EXPECT_EQ(ByteImage::Of(*slot)[230476], 0xCC);

    RvoCalyrOutput(MakeHeader(640, 360)).CopyToIpcRecord(*slot);

    const ByteImage image = ByteImage::Of(*slot);
    EXPECT_EQ(image[1490992], 1);
    for (std::size_t at = 8; at < 1490988; ++at)
        ASSERT_EQ(image[at], 0) << at;
}

TEST(InputRecord, HoldsAFrame) {
    const std::vector<std::uint8_t> pixels(110592, 0x77);
    RvoHvqInput input;
    input.temporalEnabled = 1;
    input.dataSize = 110592;
    input.data = pixels.data();
    input.header = MakeHeader(256, 144);

    ByteImage expected(691248);
    expected.Put8(0, 1).Put32(4, 110592);  // 1 to 3 is padding
    PutZeros(expected, 8, 691208);
    for (std::size_t at = 8; at < 8 + 110592; ++at)
        expected.Put8(at, 0x77);
    PutHeader(expected, 691208, 256, 144);
    expected.Put8(691240, 0);
    ExpectSame(Copied<InputSlot>(input), expected);
}

TEST(InputRecord, IsEmptyForMoreThanItHolds) {
    const std::vector<std::uint8_t> pixels(691201, 0x77);
    RvoHvqInput input;
    input.temporalEnabled = 1;
    input.dataSize = 691201;
    input.data = pixels.data();
    input.header = MakeHeader(256, 144);

    ByteImage expected(691248);
    expected.Put8(0, 0);
    PutZeros(expected, 4, 691240);
    expected.Put8(691240, 0);
    ExpectSame(Copied<InputSlot>(input), expected);
}

}  // namespace
