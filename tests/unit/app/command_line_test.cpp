#include "app/command_line.h"

#include <gtest/gtest.h>

#include "platform/text_conversion.h"

namespace app {
namespace {

// Converts ASCII and remembers how it was asked.
class FakeConversion final : public platform::TextConversion {
 public:
    int WideToBytes(platform::CodePage codePage, const wchar_t* text, char* buffer, int capacity) override {
        askedCodePage = codePage;
        askedCapacity = capacity;
        if (fails) return 0;
        int count = 0;
        for (; text[count] != 0; ++count)
            buffer[count] = static_cast<char>(text[count]);
        buffer[count] = '\0';
        return count + 1;
    }
    int BytesToWide(platform::CodePage, const char*, wchar_t*, int) override { return 0; }

    bool fails = false;
    platform::CodePage askedCodePage = platform::CodePage::System;
    int askedCapacity = 0;
};

TEST(NarrowCommandLine, AsksForTheThreadsCodePageAndTwiceTheRoom) {
    FakeConversion conversion;

    EXPECT_EQ(NarrowCommandLine(L" my id ", conversion), " my id ");

    EXPECT_EQ(conversion.askedCodePage, platform::CodePage::ThreadAnsi);
    EXPECT_EQ(static_cast<int>(conversion.askedCodePage), 3);
    EXPECT_EQ(conversion.askedCapacity, 2 * 8);
}

TEST(NarrowCommandLine, TakesAnEmptyLine) {
    FakeConversion conversion;
    EXPECT_EQ(NarrowCommandLine(L"", conversion), "");
    EXPECT_EQ(conversion.askedCapacity, 2);
}

TEST(NarrowCommandLine, GivesNoTextWhenTheConversionFails) {
    FakeConversion conversion;
    conversion.fails = true;
    EXPECT_EQ(NarrowCommandLine(L"id", conversion), std::nullopt);
}

TEST(NarrowCommandLine, GivesSomeTextForCharactersThatTheCodePageLacks) {
    const auto text = NarrowCommandLine(L"id \u4E2D", platform::SystemTextConversion());
    ASSERT_TRUE(text);
    EXPECT_EQ(text->substr(0, 3), "id ");
    EXPECT_GT(text->size(), 3U);
}

TEST(NarrowBufferChars, RefusesLinesWhoseBufferCouldNotBeCounted) {
    EXPECT_EQ(NarrowBufferChars(0x3FFFFFFE), 0x7FFFFFFE);
    EXPECT_EQ(NarrowBufferChars(0x3FFFFFFF), std::nullopt);
}

}  // namespace
}  // namespace app
