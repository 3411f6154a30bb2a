#include "engine/path_text.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <type_traits>

#include "engine/file_exists.h"

namespace hvq::inference {
namespace {

platform::TextConversion& Conversion() {
    return platform::SystemTextConversion();
}

constexpr bool kPathsAreWide = std::is_same_v<std::filesystem::path::value_type, wchar_t>;

TEST(PathText, IsTheSameInBothWidthsForPlainLetters) {
    EXPECT_EQ(WidePathText("a/b.dll", Conversion()), L"a/b.dll");
    EXPECT_EQ(NarrowPathText("a/b.dll", {}), "a/b.dll");
    EXPECT_EQ(WidePathText("", Conversion()), L"");
    EXPECT_EQ(NarrowPathText("", {}), "");
}

TEST(PathText, KeepsLettersOfAnyScriptInTheWideForm) {
    EXPECT_EQ(WidePathText(std::filesystem::path(u8"\u6f22"), Conversion()), L"\u6f22");
}

TEST(PathText, RefusesLettersThatTheCodePageLacks) {
    const std::filesystem::path path(u8"\u043a\u6f22");
    if (kPathsAreWide) {
        EXPECT_THROW((void)NarrowPathText(path, {}), std::runtime_error);
    } else {
        EXPECT_EQ(NarrowPathText(path, {}), "\xD0\xBA\xE6\xBC\xA2");
    }
}

TEST(QuotedPathText, StandsInQuotesWithABackslashBeforeEachQuoteAndBackslash) {
    EXPECT_EQ(QuotedPathText("C:\\a\\b c.dll", Conversion()), "\"C:\\\\a\\\\b c.dll\"");
    EXPECT_EQ(QuotedPathText("a\"b", Conversion()), "\"a\\\"b\"");
    EXPECT_EQ(QuotedPathText("", Conversion()), "\"\"");
    EXPECT_EQ(QuotedPathText(std::filesystem::path(u8"\u6f22"), Conversion()), "\"\xE6\xBC\xA2\"");
}

}  // namespace
}  // namespace hvq::inference
