#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "platform/text_conversion.h"

// Where Linux has a choice that Windows makes otherwise, or has no counterpart there: 32-bit wide chars, bytes that are
// no UTF-8 in the thread's code page, and how many replacements broken UTF-8 gets.
namespace {

using platform::CodePage;
using platform::SystemTextConversion;

std::wstring ToWide(CodePage codePage, const std::string& text) {
    std::vector<wchar_t> buffer(text.size() + 1);
    const int count =
        SystemTextConversion().BytesToWide(codePage, text.c_str(), buffer.data(), static_cast<int>(buffer.size()));
    return count > 0 ? std::wstring(buffer.data(), static_cast<std::size_t>(count - 1)) : L"(failed)";
}

std::string ToBytes(CodePage codePage, const std::wstring& text) {
    std::vector<char> buffer(4 * text.size() + 1);
    const int count =
        SystemTextConversion().WideToBytes(codePage, text.c_str(), buffer.data(), static_cast<int>(buffer.size()));
    return count > 0 ? std::string(buffer.data(), static_cast<std::size_t>(count - 1)) : "(failed)";
}

struct Broken {
    std::string bytes;
    std::wstring wide;
};

TEST(TextOnLinux, BrokenUtf8IsReplacedOncePerBeginningOfASequence) {
    const std::vector<Broken> cases = {
        {"\xC0\xAF", L"\uFFFD\uFFFD"},                      // two bytes for what fits in one
        {"\xE0\x80\xAF", L"\uFFFD\uFFFD\uFFFD"},            // three
        {"\xF0\x80\x80\xAF", L"\uFFFD\uFFFD\uFFFD\uFFFD"},  // four
        {"\xED\xA0\x80", L"\uFFFD\uFFFD\uFFFD"},            // a surrogate
        {"\xF4\x90\x80\x80", L"\uFFFD\uFFFD\uFFFD\uFFFD"},  // behind the last code point
        {"\xF5\x80", L"\uFFFD\uFFFD"},                      // a byte that never occurs
        {"\xC3", L"\uFFFD"},                                // cut after each byte
        {"\xE4\xB8", L"\uFFFD"},
        {"\xF0\x9F\x98", L"\uFFFD"},
        {"\xE4\xB8x", L"\uFFFDx"},  // interrupted
        {"\xE4\xC3\xA9", L"\uFFFD\u00E9"},
        {"\xC3\xA9\xA9", L"\u00E9\uFFFD"},  // one byte too many
    };
    for (const Broken& broken : cases) {
        SCOPED_TRACE(testing::PrintToString(broken.bytes));
        EXPECT_EQ(ToWide(CodePage::Utf8, broken.bytes), broken.wide);
        EXPECT_EQ(ToWide(CodePage::System, broken.bytes), broken.wide);
    }
}

TEST(TextOnLinux, WideCharsThatAreNoCodePointAreReplaced) {
    const std::wstring beyond = {L'a', static_cast<wchar_t>(0x110000), static_cast<wchar_t>(0x7FFFFFFF), L'b'};

    EXPECT_EQ(ToBytes(CodePage::Utf8, beyond),
              "a\xEF\xBF\xBD\xEF\xBF\xBD"
              "b");
    EXPECT_EQ(ToBytes(CodePage::ThreadAnsi, beyond),
              "a\xEF\xBF\xBD\xEF\xBF\xBD"
              "b");
}

TEST(TextOnLinux, EveryByteTravelsThroughTheThreadsCodePage) {
    std::vector<std::string> texts = {std::string("gr\xC3\xBC\xC3\x9F") + "e",
                                      "\xED\xA0\x80",
                                      "\xED\xB2\x80",
                                      "\xF0\x9F\x98",
                                      "\xC3\xA9\xA9",
                                      "\xEF\xBF\xBD"};
    std::string all;
    for (int value = 1; value < 256; ++value) {
        texts.emplace_back(1, static_cast<char>(value));
        all += static_cast<char>(value);
    }
    texts.push_back(all);
    for (const std::string& text : texts) {
        SCOPED_TRACE(testing::PrintToString(text));
        EXPECT_EQ(ToBytes(CodePage::ThreadAnsi, ToWide(CodePage::ThreadAnsi, text)), text);
    }
}

TEST(TextOnLinux, TheThreadsCodePageIsUtf8WhereItCanBe) {
    EXPECT_EQ(ToWide(CodePage::ThreadAnsi,
                     "gr\xC3\xBC\xC3\x9F"
                     "e"),
              L"gr\u00FC\u00DFe");
    EXPECT_EQ(ToBytes(CodePage::ThreadAnsi, L"gr\u00FC\u00DFe"),
              "gr\xC3\xBC\xC3\x9F"
              "e");
}

// U+DC80 to U+DCFF stand for bytes; the surrogates around them stand for nothing.
TEST(TextOnLinux, SurrogatesThatStandForNoByteAreReplaced) {
    for (const int point : {0xD800, 0xDC7F, 0xDD00, 0xDFFF}) {
        EXPECT_EQ(ToBytes(CodePage::ThreadAnsi, std::wstring(1, static_cast<wchar_t>(point))), "\xEF\xBF\xBD");
    }
    EXPECT_EQ(ToBytes(CodePage::ThreadAnsi, std::wstring(1, static_cast<wchar_t>(0xDC80))), "\x80");
    EXPECT_EQ(ToBytes(CodePage::ThreadAnsi, std::wstring(1, static_cast<wchar_t>(0xDCFF))), "\xFF");
}

}  // namespace
