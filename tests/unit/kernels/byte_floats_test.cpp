#include "helpers/kernels/byte_floats.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <numeric>
#include <random>
#include <vector>

#include "guarded_array.h"
#include "helpers/kernels/truncate.h"
#include "kernel_versions.h"

namespace rvo_calyr::kernels {
namespace {

using testing::Each;
using testing::ElementsAre;

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNotANumber = std::numeric_limits<float>::quiet_NaN();

TEST(TruncateToInt32, CutsTowardZero) {
    EXPECT_EQ(TruncateToInt32(0.0f), 0);
    EXPECT_EQ(TruncateToInt32(-0.0f), 0);
    EXPECT_EQ(TruncateToInt32(0.999f), 0);
    EXPECT_EQ(TruncateToInt32(-0.999f), 0);
    EXPECT_EQ(TruncateToInt32(-1.999f), -1);
    EXPECT_EQ(TruncateToInt32(180.9), 180);
    EXPECT_EQ(TruncateToInt32(-180.9), -180);
    EXPECT_EQ(TruncateToInt32(std::numeric_limits<float>::denorm_min()), 0);
}

TEST(TruncateToInt32, GivesTheLowestNumberForWhatDoesNotFit) {
    constexpr std::int32_t kLowest = std::numeric_limits<std::int32_t>::min();

    EXPECT_EQ(TruncateToInt32(2147483520.0f), 2147483520);  // the largest float below 2^31
    EXPECT_EQ(TruncateToInt32(2147483648.0f), kLowest);
    EXPECT_EQ(TruncateToInt32(-2147483648.0f), kLowest);  // fits, and is this number
    EXPECT_EQ(TruncateToInt32(-2147483904.0f), kLowest);  // the next float below
    EXPECT_EQ(TruncateToInt32(2147483647.0), 2147483647);
    EXPECT_EQ(TruncateToInt32(2147483647.9), 2147483647);
    EXPECT_EQ(TruncateToInt32(2147483648.0), kLowest);
    EXPECT_EQ(TruncateToInt32(-2147483648.9), kLowest);
    EXPECT_EQ(TruncateToInt32(-2147483649.0), kLowest);
    EXPECT_EQ(TruncateToInt32(kInfinity), kLowest);
    EXPECT_EQ(TruncateToInt32(-kInfinity), kLowest);
    EXPECT_EQ(TruncateToInt32(kNotANumber), kLowest);
}

struct MaskCase {
    float value;
    std::uint8_t byte;
};

// Floats and the bytes that a mask gets from them, worked out by hand.
const std::vector<MaskCase>& MaskCases() {
    static const std::vector<MaskCase>& cases = *new std::vector<MaskCase>{
        {0.0f, 0},
        {-0.0f, 0},
        {0.999f, 0},
        {1.0f, 1},
        {127.5f, 127},
        {128.0f, 128},
        {129.0f, 129},
        {254.9999f, 254},
        {255.0f, 255},
        {255.999f, 255},
        {256.0f, 0},
        {257.0f, 1},
        {511.0f, 255},
        {32767.0f, 255},   // where a packing to 16 bits that saturates would differ
        {32768.0f, 0},     //
        {32896.0f, 128},   // 0x8080
        {65535.0f, 255},   //
        {65536.0f, 0},     //
        {-32768.0f, 0},    //
        {-32769.0f, 255},  // 0xFFFF7FFF
        {-0.5f, 0},
        {-0.999f, 0},
        {-1.0f, 255},
        {-2.0f, 254},
        {-255.0f, 1},
        {-256.0f, 0},
        {-257.0f, 255},
        {16777215.0f, 255},
        {8388607.5f, 255},
        {2147483520.0f, 128},  // 0x7FFFFF80, the largest float below 2^31
        {2147483648.0f, 0},
        {4294967296.0f, 0},
        {4294967295.0f, 0},  // as a float 2^32
        {1e20f, 0},
        {-2147483520.0f, 128},  // 0x80000080
        {-2147483648.0f, 0},
        {-2147483904.0f, 0},
        {-1e20f, 0},
        {std::numeric_limits<float>::max(), 0},
        {std::numeric_limits<float>::lowest(), 0},
        {std::numeric_limits<float>::min(), 0},
        {std::numeric_limits<float>::denorm_min(), 0},
        {-std::numeric_limits<float>::denorm_min(), 0},
        {kInfinity, 0},
        {-kInfinity, 0},
        {kNotANumber, 0},
        {-kNotANumber, 0},
        {std::numeric_limits<float>::signaling_NaN(), 0},
    };
    return cases;
}

// Lengths around those of vectors and lines, and a few larger odd ones.
std::vector<std::size_t> Lengths() {
    std::vector<std::size_t> lengths;
    for (std::size_t length = 0; length <= 200; ++length) {
        lengths.push_back(length);
    }
    lengths.insert(lengths.end(), {1023, 1024, 1025, 1055, 2049, 4097, 36864, 36865});
    return lengths;
}

// Floats of all kinds: mask values, special ones, any bits.
std::vector<float> MixedFloats(std::size_t count, std::mt19937& random) {
    std::vector<float> floats(count);
    for (float& value : floats) {
        switch (random() % 4) {
            case 0:
                value = static_cast<float>(random() % 25600) / 100.0f;
                break;
            case 1:
                value = MaskCases()[random() % MaskCases().size()].value;
                break;
            case 2:
                value = static_cast<float>(static_cast<std::int32_t>(random()));
                break;
            default:
                value = std::bit_cast<float>(static_cast<std::uint32_t>(random()));
                break;
        }
    }
    return floats;
}

std::vector<std::uint8_t> RandomBytes(std::size_t count, std::mt19937& random) {
    std::vector<std::uint8_t> bytes(count);
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<std::uint8_t>(random()); });
    return bytes;
}

class ByteFloats : public testing::TestWithParam<const Kernels*> {};
class FastByteFloats : public testing::TestWithParam<const Kernels*> {};

TEST_P(ByteFloats, WidensEveryByteToTheFloatOfTheSameValue) {
    std::vector<std::uint8_t> bytes(256);
    std::iota(bytes.begin(), bytes.end(), std::uint8_t{0});
    std::vector<float> floats(bytes.size(), -1.0f);

    GetParam()->widenBytes(bytes.data(), bytes.size(), floats.data());

    for (int value = 0; value < 256; ++value) {
        EXPECT_EQ(floats[static_cast<std::size_t>(value)], static_cast<float>(value));
    }
}

TEST_P(ByteFloats, ConvertsEachKindOfFloatAtEachPlaceOfAVector) {
    constexpr std::size_t kCount = 96;
    for (const MaskCase& mask : MaskCases()) {
        for (std::size_t place = 0; place < kCount; ++place) {
            std::vector<float> floats(kCount, 7.0f);
            floats[place] = mask.value;
            std::vector<std::uint8_t> expected(kCount, 7);
            expected[place] = mask.byte;
            std::vector<std::uint8_t> once(kCount, 99);
            std::vector<std::uint8_t> first(kCount, 99);
            std::vector<std::uint8_t> second(kCount, 99);

            GetParam()->convertMask(floats.data(), kCount, once.data());
            const std::uint64_t sum = GetParam()->convertMaskTwice(floats.data(), kCount, first.data(), second.data());

            ASSERT_EQ(once, expected) << mask.value << " at " << place;
            ASSERT_EQ(first, expected) << mask.value << " at " << place;
            ASSERT_EQ(second, expected) << mask.value << " at " << place;
            ASSERT_EQ(sum, 7 * (kCount - 1) + mask.byte) << mask.value << " at " << place;
        }
    }
}

TEST_P(ByteFloats, SumsALargeMaskWithoutLoss) {
    const std::vector<float> floats(std::size_t{640} * 360, 255.0f);
    std::vector<std::uint8_t> mask(floats.size());
    std::vector<std::uint8_t> previousMask(floats.size());

    EXPECT_EQ(GetParam()->convertMaskTwice(floats.data(), floats.size(), mask.data(), previousMask.data()),
              640u * 360u * 255u);
    EXPECT_THAT(previousMask, Each(255));
}

TEST_P(ByteFloats, LeavesWhatStandsBehindTheLastElement) {
    for (const std::size_t length : Lengths()) {
        const std::vector<std::uint8_t> bytes(length, 3);
        std::vector<float> floats(length + 64, -1.0f);
        std::vector<std::uint8_t> once(length + 64, 99);
        std::vector<std::uint8_t> first(length + 64, 99);
        std::vector<std::uint8_t> second(length + 64, 99);

        GetParam()->widenBytes(bytes.data(), length, floats.data());
        GetParam()->convertMask(floats.data(), length, once.data());
        GetParam()->convertMaskTwice(floats.data(), length, first.data(), second.data());

        for (std::size_t i = length; i < length + 64; ++i) {
            ASSERT_EQ(floats[i], -1.0f) << length << ", " << i;
            ASSERT_EQ(once[i], 99) << length << ", " << i;
            ASSERT_EQ(first[i], 99) << length << ", " << i;
            ASSERT_EQ(second[i], 99) << length << ", " << i;
        }
    }
}

TEST_P(FastByteFloats, WidensAsThePlainOneBetweenGuards) {
    std::mt19937 random(1);
    for (const Guard guard : {Guard::Before, Guard::Behind}) {
        for (const std::size_t length : Lengths()) {
            const GuardedArray<std::uint8_t> bytes(length, guard);
            std::ranges::copy(RandomBytes(length, random), bytes.Data());
            const GuardedArray<float> floats(length, guard);
            std::vector<float> expected(length);

            PlainKernels().widenBytes(bytes.Data(), length, expected.data());
            GetParam()->widenBytes(bytes.Data(), length, floats.Data());

            ASSERT_TRUE(std::ranges::equal(floats.Span(), expected)) << length;
        }
    }
}

TEST_P(FastByteFloats, ConvertsAsThePlainOneBetweenGuards) {
    std::mt19937 random(2);
    for (const Guard guard : {Guard::Before, Guard::Behind}) {
        for (const std::size_t length : Lengths()) {
            const GuardedArray<float> floats(length, guard);
            std::ranges::copy(MixedFloats(length, random), floats.Data());
            const GuardedArray<std::uint8_t> once(length, guard);
            const GuardedArray<std::uint8_t> first(length, guard);
            const GuardedArray<std::uint8_t> second(length, guard);
            std::vector<std::uint8_t> expected(length);
            std::vector<std::uint8_t> unused(length);

            const std::uint64_t expectedSum =
                PlainKernels().convertMaskTwice(floats.Data(), length, expected.data(), unused.data());
            GetParam()->convertMask(floats.Data(), length, once.Data());
            const std::uint64_t sum = GetParam()->convertMaskTwice(floats.Data(), length, first.Data(), second.Data());

            ASSERT_TRUE(std::ranges::equal(once.Span(), expected)) << length;
            ASSERT_TRUE(std::ranges::equal(first.Span(), expected)) << length;
            ASSERT_TRUE(std::ranges::equal(second.Span(), expected)) << length;
            ASSERT_EQ(sum, expectedSum) << length;
        }
    }
}

TEST_P(FastByteFloats, WorksAtEveryAlignment) {
    std::mt19937 random(3);
    constexpr std::size_t kLength = 333;
    const std::vector<float> floats = MixedFloats(kLength + 64, random);
    const std::vector<std::uint8_t> bytes = RandomBytes(kLength + 64, random);
    for (std::size_t start = 0; start < 64; ++start) {
        std::vector<std::uint8_t> expected(kLength);
        PlainKernels().convertMask(floats.data() + start, kLength, expected.data());
        std::vector<std::uint8_t> first(kLength + 128, 99);
        std::vector<std::uint8_t> second(kLength + 128, 99);
        std::vector<float> widened(kLength + 64, -1.0f);

        GetParam()->convertMaskTwice(floats.data() + start, kLength, first.data() + start, second.data() + 63 - start);
        GetParam()->widenBytes(bytes.data() + start, kLength, widened.data() + 63 - start);

        for (std::size_t i = 0; i < kLength; ++i) {
            ASSERT_EQ(first[start + i], expected[i]) << start << ", " << i;
            ASSERT_EQ(second[63 - start + i], expected[i]) << start << ", " << i;
            ASSERT_EQ(widened[63 - start + i], static_cast<float>(bytes[start + i])) << start << ", " << i;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Versions, ByteFloats, testing::ValuesIn(AllVersions()), kVersionName);
INSTANTIATE_TEST_SUITE_P(Versions, FastByteFloats, testing::ValuesIn(FastVersions()), kVersionName);
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(FastByteFloats);

TEST(WidenBytes, GivesTheValuesWithoutScaling) {
    const std::vector<std::uint8_t> bytes = {0, 1, 128, 255};
    std::vector<float> floats(5, -1.0f);

    WidenBytes(bytes, floats);

    EXPECT_THAT(floats, ElementsAre(0.0f, 1.0f, 128.0f, 255.0f, -1.0f));
}

TEST(ConvertMask, CutsOffFractionsAndHighBits) {
    const std::vector<float> floats = {0.9f, 254.99f, -1.0f, 256.0f, kNotANumber};
    std::vector<std::uint8_t> mask(6, 99);

    ConvertMask(floats, mask);

    EXPECT_THAT(mask, ElementsAre(0, 254, 255, 0, 0, 99));
}

TEST(ConvertMask, FillsTwoMasksAndSumsOneOfThem) {
    const std::vector<float> floats = {0.9f, 254.99f, -1.0f, 256.0f, 1.0f};
    std::vector<std::uint8_t> mask(5, 99);
    std::vector<std::uint8_t> previousMask(5, 99);

    EXPECT_EQ(ConvertMask(floats, mask, previousMask), 510u);

    EXPECT_THAT(mask, ElementsAre(0, 254, 255, 0, 1));
    EXPECT_EQ(previousMask, mask);
}

}  // namespace
}  // namespace rvo_calyr::kernels
