#include "infra/number_text.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <limits>
#include <string>

#include "infra/text_formator.h"

namespace infra {
namespace {

std::string Written(SignedMagnitude number, std::int32_t radix) {
    std::array<char, 80> scratch{};
    EXPECT_EQ(WriteNumber(number, radix, scratch), std::errc());
    return scratch.data();
}

TEST(NumberText, WritesZeroWithOneDigit) {
    EXPECT_EQ(Written({0, false}, 10), "0");
}

TEST(NumberText, WritesTheExtremesOf64Bits) {
    EXPECT_EQ(Written(SplitSign(std::numeric_limits<std::int64_t>::min()), 10), "-9223372036854775808");
    EXPECT_EQ(Written(SplitSign(std::numeric_limits<std::int64_t>::max()), 10), "9223372036854775807");
    EXPECT_EQ(Written({std::numeric_limits<std::uint64_t>::max(), false}, 10), "18446744073709551615");
}

TEST(NumberText, WritesTheLongestNumberOfAll) {
    EXPECT_EQ(Written(SplitSign(std::numeric_limits<std::int64_t>::min()), 2), "-1" + std::string(63, '0'));
    EXPECT_EQ(Written({std::numeric_limits<std::uint64_t>::max(), false}, 2), std::string(64, '1'));
}

TEST(NumberText, UsesLowercaseDigitsUpToRadix36) {
    EXPECT_EQ(Written({35, false}, 36), "z");
    EXPECT_EQ(Written({36, false}, 36), "10");
    EXPECT_EQ(Written({0xABCDEF, false}, 16), "abcdef");
}

TEST(NumberText, TakesARadixWithoutDigitsFor10) {
    for (const std::int32_t radix : {-10, -1, 0, 1, 37, std::numeric_limits<std::int32_t>::max()}) {
        EXPECT_EQ(Written({64, false}, radix), "64") << radix;
    }
    EXPECT_EQ(Written({64, false}, 2), "1000000");
    EXPECT_EQ(Written({64, false}, 36), "1s");
}

TEST(NumberText, FillsTheScratchToItsLastChar) {
    std::array<char, 5> scratch{};

    EXPECT_EQ(WriteNumber(SplitSign(-123), 10, scratch), std::errc());

    EXPECT_STREQ(scratch.data(), "-123");
}

TEST(NumberText, ReportsAScratchThatIsOneCharTooSmall) {
    std::array<char, 4> scratch = {'x', 'x', 'x', 'x'};

    EXPECT_EQ(WriteNumber(SplitSign(-123), 10, scratch), std::errc::value_too_large);

    EXPECT_STREQ(scratch.data(), "");
}

TEST(NumberText, AppendsTheErrorsTextInsteadOfANumberThatDoesNotFit) {
    std::array<char, 64> buffer{};
    TextFormator line(buffer.data(), buffer.size());
    std::array<char, 4> scratch{};

    line << "n=";
    AppendNumber(line, {1234, false}, 10, scratch);
    EXPECT_STREQ(line.Text(), "n=value too large");

    line << ", ";
    AppendNumber(line, {123, false}, 10, scratch);
    EXPECT_STREQ(line.Text(), "n=value too large, 123");
}

}  // namespace
}  // namespace infra
