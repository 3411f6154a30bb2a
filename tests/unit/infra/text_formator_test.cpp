#include "infra/text_formator.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>

namespace infra {
namespace {

// A formatter over `Capacity` chars, with a mark behind them that nothing may overwrite.
template <std::uint32_t Capacity>
struct Line {
    Line() : formator(buffer.data(), Capacity) {}
    ~Line() { EXPECT_EQ(buffer.back(), '#') << "written past the capacity"; }

    std::array<char, Capacity + 1> buffer = [] {
        std::array<char, Capacity + 1> filled;
        filled.fill('#');
        return filled;
    }();
    TextFormator formator;
};

const void* Address(std::uint64_t value) {
    return reinterpret_cast<const void*>(static_cast<std::uintptr_t>(value));
}

TEST(TextFormator, BeginsEmptyAndTerminated) {
    Line<8> line;

    EXPECT_EQ(line.formator.Length(), 0u);
    EXPECT_EQ(line.formator.Text(), line.buffer.data());
    EXPECT_EQ(line.buffer[0], '\0');
}

TEST(TextFormator, BuildsALineAsOneChain) {
    Line<128> line;

    TextFormator& result = line.formator << "[RVO_CALYR]" << std::string("Init() fail") << ", "
                                         << "deviceType"
                                         << "=" << std::int32_t{-2} << ", "
                                         << "quality"
                                         << "=" << std::uint8_t{65};

    EXPECT_EQ(&result, &line.formator);
    EXPECT_STREQ(line.formator.Text(), "[RVO_CALYR]Init() fail, deviceType=-2, quality=65");
    EXPECT_EQ(line.formator.Length(), std::strlen(line.formator.Text()));
}

TEST(TextFormator, AppendsNothingForANullText) {
    Line<8> line;

    line.formator << "ab" << static_cast<const char*>(nullptr) << "c";
    line.formator.Append(nullptr);

    EXPECT_STREQ(line.formator.Text(), "abc");
}

TEST(TextFormator, AppendsNothingForAnEmptyText) {
    Line<8> line;

    line.formator << "" << std::string();

    EXPECT_STREQ(line.formator.Text(), "");
    EXPECT_EQ(line.formator.Length(), 0u);
}

TEST(TextFormator, AppendsAStringUpToItsFirstNul) {
    Line<8> line;

    line.formator << std::string("ab\0cd", 5);

    EXPECT_STREQ(line.formator.Text(), "ab");
    EXPECT_EQ(line.formator.Length(), 2u);
}

TEST(TextFormator, AppendsItsOwnTextUnharmed) {
    Line<16> line;
    line.formator << "abc";

    line.formator << line.formator.Text();

    EXPECT_STREQ(line.formator.Text(), "abcabc");
}

TEST(TextFormator, TakesATextOfExactlyTheRoomThatIsLeft) {
    Line<8> line;
    line.formator << "abc";

    line.formator << "defg";

    EXPECT_STREQ(line.formator.Text(), "abcdefg");
    EXPECT_EQ(line.formator.Length(), 7u);
    EXPECT_EQ(line.buffer[7], '\0');
}

TEST(TextFormator, LeavesRoomWhenATextIsOneCharShorter) {
    Line<8> line;

    line.formator << "abcdef"
                  << "g";

    EXPECT_STREQ(line.formator.Text(), "abcdefg");
}

TEST(TextFormator, CutsATextThatIsOneCharTooLong) {
    Line<8> line;
    line.formator << "abc";

    line.formator << "defgh";

    EXPECT_STREQ(line.formator.Text(), "abcdefg");
    EXPECT_EQ(line.formator.Length(), 7u);
    EXPECT_EQ(line.buffer[7], '\0');
}

TEST(TextFormator, CutsANumberInTheMiddle) {
    Line<4> line;

    line.formator << "a" << std::int32_t{12345};

    EXPECT_STREQ(line.formator.Text(), "a12");
}

TEST(TextFormator, IgnoresAllAppendsWithoutRoom) {
    Line<4> line;
    line.formator << "abc";

    line.formator << "d" << std::string("e") << std::int32_t{1} << std::uint64_t{2} << Address(3);

    EXPECT_STREQ(line.formator.Text(), "abc");
    EXPECT_EQ(line.formator.Length(), 3u);
    EXPECT_EQ(line.buffer[3], '\0');
}

TEST(TextFormator, HasNoRoomAtAllWithACapacityOfOne) {
    Line<1> line;

    line.formator << "a" << std::int32_t{1} << Address(1);

    EXPECT_STREQ(line.formator.Text(), "");
    EXPECT_EQ(line.formator.Length(), 0u);
}

TEST(TextFormator, ForgetsARadixWithANumberThatFindsNoRoom) {
    Line<4> line;
    line.formator << "abc";
    line.formator.SetRadix(16);
    EXPECT_EQ(line.formator.Radix(), 16);

    line.formator << std::int32_t{255};

    EXPECT_EQ(line.formator.Radix(), 10);
    EXPECT_STREQ(line.formator.Text(), "abc");
}

TEST(TextFormator, ConvertsNumbersOfEachWidth) {
    Line<160> line;

    line.formator << std::numeric_limits<std::int32_t>::min() << " " << std::numeric_limits<std::uint32_t>::max() << " "
                  << std::numeric_limits<std::int64_t>::min() << " " << std::numeric_limits<std::uint64_t>::max() << " "
                  << std::numeric_limits<std::uint8_t>::max() << " " << std::int64_t{0};

    EXPECT_STREQ(line.formator.Text(), "-2147483648 4294967295 -9223372036854775808 18446744073709551615 255 0");
}

TEST(TextFormator, TakesLongAndLongLongOnEverySystem) {
    Line<80> line;

    line.formator << -1L << " " << -2LL << " " << 3UL << " " << 18446744073709551615ULL;

    EXPECT_STREQ(line.formator.Text(), "-1 -2 3 18446744073709551615");
}

TEST(TextFormator, PrintsMinusOneInRadix16BySign) {
    Line<80> line;

    line.formator.SetRadix(16);
    line.formator << std::int32_t{-1} << " ";
    line.formator.SetRadix(16);
    line.formator << std::uint32_t{0xFFFFFFFF} << " ";
    line.formator.SetRadix(16);
    line.formator << std::int64_t{-1} << " ";
    line.formator.SetRadix(16);
    line.formator << std::uint8_t{255};

    EXPECT_STREQ(line.formator.Text(), "-1 ffffffff -1 ff");
}

TEST(TextFormator, UsesARadixForOneNumberOnly) {
    Line<80> line;

    line.formator.SetRadix(2);
    line.formator << std::int32_t{5} << " " << std::int32_t{5};

    EXPECT_STREQ(line.formator.Text(), "101 5");
}

TEST(TextFormator, KeepsARadixAcrossTexts) {
    Line<80> line;

    line.formator.SetRadix(36);
    line.formator << "n=" << std::string("") << std::int32_t{35};

    EXPECT_STREQ(line.formator.Text(), "n=z");
}

TEST(TextFormator, TakesARadixWithoutDigitsFor10) {
    Line<80> line;
    for (const std::int32_t radix : {1, 37, 0, -16}) {
        line.formator.SetRadix(radix);
        line.formator << std::int32_t{19} << " ";
    }

    EXPECT_STREQ(line.formator.Text(), "19 19 19 19 ");
}

TEST(TextFormator, PrintsTheLow32BitsOfAPointer) {
    Line<80> line;

    line.formator << Address(0x123456789ABCDEF0) << " " << Address(0x0000000100000000) << " "
                  << Address(0x00000001FFFFFFFF) << " " << static_cast<const void*>(nullptr);

    EXPECT_STREQ(line.formator.Text(), "0x9abcdef0 0x0 0xffffffff 0x0");
}

TEST(TextFormator, PrintsAnObjectsAddressAndNotItsValue) {
    Line<80> line;
    Line<80> expected;
    const std::int32_t object = 7;

    line.formator << &object;
    expected.formator << static_cast<const void*>(&object);

    EXPECT_STREQ(line.formator.Text(), expected.formator.Text());
    EXPECT_EQ(std::string(line.formator.Text()).substr(0, 2), "0x");
}

TEST(TextFormator, PrintsTheNumberBehindAPointerInRadix10) {
    Line<80> line;

    line.formator.SetRadix(2);
    line.formator << Address(0x10) << " " << std::int32_t{16};

    EXPECT_STREQ(line.formator.Text(), "0x10 16");
}

TEST(TextFormator, LeavesOnlyTheBeginOfAPointerWhereRoomIsShort) {
    Line<5> oneChar;
    oneChar.formator << "abc" << Address(0xABC);
    EXPECT_STREQ(oneChar.formator.Text(), "abc0");

    Line<6> twoChars;
    twoChars.formator << "abc" << Address(0xABC);
    EXPECT_STREQ(twoChars.formator.Text(), "abc0x");

    Line<7> threeChars;
    threeChars.formator << "abc" << Address(0xABC);
    EXPECT_STREQ(threeChars.formator.Text(), "abc0xa");
}

TEST(TextFormator, BeginsAnewAfterReset) {
    Line<16> line;
    line.formator << "abc";
    line.formator.SetRadix(16);

    EXPECT_EQ(line.formator.Reset(), line.buffer.data());

    EXPECT_EQ(line.formator.Length(), 0u);
    EXPECT_STREQ(line.formator.Text(), "");
    line.formator << std::int32_t{16};
    EXPECT_STREQ(line.formator.Text(), "16");
}

TEST(TextFormator, LosesTheTailOfALineOf1024Chars) {
    Line<1024> line;

    line.formator << std::string(2000, 'x') << " [this=" << Address(1) << "]";

    EXPECT_EQ(line.formator.Length(), 1023u);
    EXPECT_EQ(std::string(line.formator.Text()), std::string(1023, 'x'));
}

}  // namespace
}  // namespace infra
