#include "infra/wide_text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "support/fake_text_conversion.h"

namespace infra {
namespace {

using namespace std::string_literals;
using platform::CodePage;
using support::FakeTextConversion;
using ::testing::ElementsAre;

constexpr auto kUtf8 = CodePage::Utf8;

std::string StrictError(const std::wstring& text, FakeTextConversion& conversion) {
    try {
        WideToUtf8Strict(text, conversion);
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "nothing was thrown";
}

TEST(WideToUtf8, CountsTheTerminator) {
    FakeTextConversion conversion;

    EXPECT_EQ(WideToUtf8(L"ab", kUtf8, conversion), "ab\0"s);
    EXPECT_EQ(WideToUtf8(L"\u00e9\u20ac", kUtf8, conversion), "\xC3\xA9\xE2\x82\xAC\0"s);
}

TEST(WideToUtf8, GivesANulForTheEmptyText) {
    FakeTextConversion conversion;

    EXPECT_EQ(WideToUtf8(L"", kUtf8, conversion), "\0"s);
}

TEST(WideToUtf8, ReadsUpToTheFirstNul) {
    FakeTextConversion conversion;

    EXPECT_EQ(WideToUtf8(L"ab\0cd"s, kUtf8, conversion), "ab\0"s);
}

TEST(WideToUtf8, AsksForTheCodePageGiven) {
    FakeTextConversion conversion;

    WideToUtf8(L"a", CodePage::System, conversion);
    WideToUtf8(L"a", kUtf8, conversion);

    EXPECT_THAT(conversion.CodePages(), ElementsAre(CodePage::System, CodePage::System, kUtf8, kUtf8));
}

TEST(WideToUtf8, IsEmptyWhenTheLengthCannotBeHad) {
    FakeTextConversion conversion;
    conversion.AnswerNext({0});
    EXPECT_EQ(WideToUtf8(L"ab", kUtf8, conversion), "");

    conversion.AnswerNext({-1});
    EXPECT_EQ(WideToUtf8(L"ab", kUtf8, conversion), "");
    EXPECT_EQ(conversion.CodePages().size(), 2u) << "converted all the same";
}

TEST(WideToUtf8, IsEmptyWhenTheConversionFails) {
    FakeTextConversion conversion;
    conversion.AnswerNext({std::nullopt, -1});
    EXPECT_EQ(WideToUtf8(L"ab", kUtf8, conversion), "");

    conversion.AnswerNext({std::nullopt, 0});
    EXPECT_EQ(WideToUtf8(L"ab", kUtf8, conversion), "");
}

TEST(WideToUtf8, HasTheLengthThatTheConversionReturned) {
    FakeTextConversion conversion;
    conversion.AnswerNext({5, 2});

    EXPECT_EQ(WideToUtf8(L"ab", kUtf8, conversion), "\0\0"s);
}

TEST(Utf8ToWide, CountsTheTerminator) {
    FakeTextConversion conversion;

    EXPECT_EQ(Utf8ToWide("ab", kUtf8, conversion), L"ab\0"s);
    EXPECT_EQ(Utf8ToWide("\xC3\xA9\xE2\x82\xAC", kUtf8, conversion), L"\u00e9\u20ac\0"s);
    EXPECT_EQ(Utf8ToWide("", kUtf8, conversion), L"\0"s);
}

TEST(Utf8ToWide, AsksForTheCodePageGiven) {
    FakeTextConversion conversion;

    Utf8ToWide("a", CodePage::System, conversion);

    EXPECT_THAT(conversion.CodePages(), ElementsAre(CodePage::System, CodePage::System));
}

TEST(Utf8ToWide, IsEmptyOnFailure) {
    FakeTextConversion conversion;
    conversion.AnswerNext({0});
    EXPECT_EQ(Utf8ToWide("ab", kUtf8, conversion), L"");
    conversion.AnswerNext({-1});
    EXPECT_EQ(Utf8ToWide("ab", kUtf8, conversion), L"");
    conversion.AnswerNext({std::nullopt, -1});
    EXPECT_EQ(Utf8ToWide("ab", kUtf8, conversion), L"");
}

TEST(WideToUtf8Strict, HasExactlyTheVisibleChars) {
    FakeTextConversion conversion;

    EXPECT_EQ(WideToUtf8Strict(L"ab", conversion), "ab");
    EXPECT_EQ(WideToUtf8Strict(L"\u00e9", conversion), "\xC3\xA9");
    EXPECT_EQ(WideToUtf8Strict(L"", conversion), "");
    EXPECT_EQ(conversion.CodePages().front(), kUtf8);
}

TEST(WideToUtf8Strict, ThrowsWhenTheLengthCannotBeHad) {
    FakeTextConversion conversion;
    conversion.AnswerNext({0});

    EXPECT_EQ(StrictError(L"ab", conversion), "Failed to convert wstring to string (length calculation).");
}

TEST(WideToUtf8Strict, ThrowsWhenTheConversionFails) {
    FakeTextConversion conversion;
    conversion.AnswerNext({std::nullopt, 0});

    EXPECT_EQ(StrictError(L"ab", conversion), "Failed to convert wstring to string (conversion).");
}

TEST(WideText, GoesThereAndBackOnThisSystem) {
    const std::wstring wide = L"a\u00e9\u20ac\U0001F600";
    const std::string bytes = "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80";

    EXPECT_EQ(WideToUtf8(wide), bytes + '\0');
    EXPECT_EQ(Utf8ToWide(bytes), wide + L'\0');
    EXPECT_EQ(WideToUtf8Strict(wide), bytes);
    EXPECT_EQ(WideToUtf8(L""), "\0"s);
    EXPECT_EQ(Utf8ToWide("ab"), L"ab\0"s);
    EXPECT_EQ(WideToUtf8Strict(L""), "");
}

TEST(WideText, IsTheSameInTheFake) {
    const std::wstring wide = L"a\u00e9\u20ac\U0001F600";
    FakeTextConversion conversion;

    EXPECT_EQ(WideToUtf8(wide, kUtf8, conversion), WideToUtf8(wide));
    EXPECT_EQ(Utf8ToWide(WideToUtf8(wide), kUtf8, conversion), Utf8ToWide(WideToUtf8(wide)));
}

}  // namespace
}  // namespace infra
