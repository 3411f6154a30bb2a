#include "platform/text_conversion.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace {

using platform::CodePage;
using platform::SystemTextConversion;

struct Pair {
    std::wstring wide;
    std::string bytes;
};

// Text at both ends of each length of sequence.
std::vector<Pair> Pairs() {
    return {{L"", ""},
            {L"ab", "ab"},
            {L"\u007F\u0080", "\x7F\xC2\x80"},
            {L"\u07FF\u0800", "\xDF\xBF\xE0\xA0\x80"},
            {L"\uD7FF\uE000", "\xED\x9F\xBF\xEE\x80\x80"},
            {L"\uFFFD\uFFFF", "\xEF\xBF\xBD\xEF\xBF\xBF"},
            {L"\U00010000", "\xF0\x90\x80\x80"},
            {L"\U0010FFFF", "\xF4\x8F\xBF\xBF"},
            {L"gr\u00FC\u00DFe, \u4E16\u754C \U0001F600",
             "gr\xC3\xBC\xC3\x9F"
             "e, \xE4\xB8\x96\xE7\x95\x8C \xF0\x9F\x98\x80"}};
}

std::string ToBytes(CodePage codePage, const std::wstring& text) {
    const int count = SystemTextConversion().WideToBytes(codePage, text.c_str(), nullptr, 0);
    std::string result(static_cast<std::size_t>(count), '?');
    EXPECT_EQ(SystemTextConversion().WideToBytes(codePage, text.c_str(), result.data(), count), count);
    EXPECT_EQ(result.back(), '\0');
    result.pop_back();
    return result;
}

std::wstring ToWide(CodePage codePage, const std::string& text) {
    const int count = SystemTextConversion().BytesToWide(codePage, text.c_str(), nullptr, 0);
    std::wstring result(static_cast<std::size_t>(count), L'?');
    EXPECT_EQ(SystemTextConversion().BytesToWide(codePage, text.c_str(), result.data(), count), count);
    EXPECT_EQ(result.back(), L'\0');
    result.pop_back();
    return result;
}

TEST(TextConversion, GoesBothWaysInUtf8) {
    for (const Pair& pair : Pairs()) {
        SCOPED_TRACE(testing::PrintToString(pair.bytes));
        EXPECT_EQ(ToBytes(CodePage::Utf8, pair.wide), pair.bytes);
        EXPECT_EQ(ToWide(CodePage::Utf8, pair.bytes), pair.wide);
    }
}

TEST(TextConversion, CountsTheTerminator) {
    EXPECT_EQ(SystemTextConversion().WideToBytes(CodePage::Utf8, L"", nullptr, 0), 1);
    EXPECT_EQ(SystemTextConversion().WideToBytes(CodePage::Utf8, L"\u00E9", nullptr, 0), 3);
    EXPECT_EQ(SystemTextConversion().BytesToWide(CodePage::Utf8, "", nullptr, 0), 1);
    EXPECT_EQ(SystemTextConversion().BytesToWide(CodePage::Utf8, "\xC3\xA9", nullptr, 0), 2);
}

TEST(TextConversion, FailsWhenTheTerminatorDoesNotFit) {
    char bytes[3] = {};
    wchar_t wide[3] = {};

    EXPECT_EQ(SystemTextConversion().WideToBytes(CodePage::Utf8, L"abc", bytes, 3), 0);
    EXPECT_EQ(SystemTextConversion().WideToBytes(CodePage::Utf8, L"ab", bytes, 3), 3);
    EXPECT_STREQ(bytes, "ab");
    EXPECT_EQ(SystemTextConversion().BytesToWide(CodePage::Utf8, "abc", wide, 3), 0);
    EXPECT_EQ(SystemTextConversion().BytesToWide(CodePage::Utf8, "ab", wide, 3), 3);
    EXPECT_STREQ(wide, L"ab");
}

TEST(TextConversion, WritesNothingBehindTheBuffersEnd) {
    char bytes[3] = {'x', 'x', 'x'};
    wchar_t wide[3] = {L'x', L'x', L'x'};

    EXPECT_EQ(SystemTextConversion().WideToBytes(CodePage::Utf8, L"abc", bytes, 2), 0);
    EXPECT_EQ(SystemTextConversion().BytesToWide(CodePage::Utf8, "abc", wide, 2), 0);

    EXPECT_EQ(bytes[2], 'x');
    EXPECT_EQ(wide[2], L'x');
}

TEST(TextConversion, FailsOnArgumentsThatMakeNoSense) {
    EXPECT_EQ(SystemTextConversion().WideToBytes(CodePage::Utf8, L"a", nullptr, 5), 0);
    EXPECT_EQ(SystemTextConversion().BytesToWide(CodePage::Utf8, "a", nullptr, 5), 0);
    EXPECT_EQ(SystemTextConversion().WideToBytes(CodePage::Utf8, nullptr, nullptr, 0), 0);
    EXPECT_EQ(SystemTextConversion().BytesToWide(CodePage::Utf8, nullptr, nullptr, 0), 0);
    EXPECT_EQ(SystemTextConversion().WideToBytes(static_cast<CodePage>(64999), L"a", nullptr, 0), 0);
    EXPECT_EQ(SystemTextConversion().BytesToWide(static_cast<CodePage>(64999), "a", nullptr, 0), 0);
}

TEST(TextConversion, KeepsPlainTextInTheOtherCodePages) {
    for (const CodePage codePage : {CodePage::System, CodePage::ThreadAnsi}) {
        EXPECT_EQ(ToBytes(codePage, L"id 0~"), "id 0~");
        EXPECT_EQ(ToWide(codePage, "id 0~"), L"id 0~");
    }
}

TEST(TextConversion, ReplacesALoneSurrogate) {
    EXPECT_EQ(ToBytes(CodePage::Utf8, std::wstring({L'a', static_cast<wchar_t>(0xD800), L'b'})),
              "a\xEF\xBF\xBD"
              "b");
    EXPECT_EQ(ToBytes(CodePage::Utf8, std::wstring({L'a', static_cast<wchar_t>(0xDC80), L'b'})),
              "a\xEF\xBF\xBD"
              "b");
}

TEST(TextConversion, ReplacesABytesThatIsNoText) {
    EXPECT_EQ(ToWide(CodePage::Utf8,
                     "a\xFF"
                     "b"),
              L"a\uFFFDb");
    EXPECT_EQ(ToWide(CodePage::Utf8,
                     "a\x80"
                     "b"),
              L"a\uFFFDb");
}

}  // namespace
