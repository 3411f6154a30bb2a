#include "velmo_parent/ipc_id.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace velmo_parent {
namespace {

using testing::HasSubstr;

TEST(IpcId, IsGoodWhenItIsPlainText) {
    EXPECT_TRUE(CheckId("link-1234"));
    EXPECT_TRUE(CheckId("with a blank inside"));
    EXPECT_TRUE(CheckId("Local\\link"));
    EXPECT_TRUE(CheckId("Global\\link"));
    EXPECT_TRUE(CheckId("\"quoted\""));
}

TEST(IpcId, MayBeEmpty) {
    EXPECT_TRUE(CheckId(""));
}

TEST(IpcId, LeavesRoomForTheNamesMadeOfIt) {
    EXPECT_TRUE(CheckId(std::string(249, 'x')));
    EXPECT_THAT(CheckId(std::string(250, 'x')).Why(), HasSubstr("250 bytes"));
}

TEST(IpcId, HoldsNoNul) {
    EXPECT_THAT(CheckId(std::string("a\0b", 3)).Why(), HasSubstr("NUL"));
}

TEST(IpcId, HasNoWhiteSpaceAtItsEnds) {
    for (const char* id : {" a", "a ", "\ta", "a\n", "a\r", "\va", "a\f", " "}) {
        EXPECT_THAT(CheckId(id).Why(), HasSubstr("white space")) << id;
    }
}

TEST(IpcId, HoldsABackslashOnlyInItsNamespace) {
    for (const char* id : {"a\\b", "Local\\a\\b", "local\\a", "\\"}) {
        EXPECT_THAT(CheckId(id).Why(), HasSubstr("backslash")) << id;
    }
}

// A code page without the letter: it becomes a question mark on the way, as on a real one.
class PoorCodePage : public platform::TextConversion {
 public:
    int WideToBytes(platform::CodePage, const wchar_t* text, char* buffer, int capacity) override {
        int count = 0;
        do {
            if (buffer != nullptr && count < capacity)
                buffer[count] = *text == L'\u00e4' ? '?' : static_cast<char>(*text);
            ++count;
        } while (*text++ != 0);
        return count;
    }
    int BytesToWide(platform::CodePage codePage, const char* text, wchar_t* buffer, int capacity) override {
        asked = codePage;
        int count = 0;
        do {
            if (buffer != nullptr && count < capacity)
                buffer[count] = *text == 'q' ? L'\u00e4' : static_cast<wchar_t>(*text);
            ++count;
        } while (*text++ != 0);
        return count;
    }
    platform::CodePage asked = platform::CodePage::Utf8;
};

TEST(IpcId, SurvivesTheThreadsCodePage) {
    PoorCodePage page;
    EXPECT_TRUE(CheckId("plain", page));
    EXPECT_EQ(page.asked, platform::CodePage::ThreadAnsi);
    EXPECT_THAT(CheckId("aqua", page).Why(), HasSubstr("code page"));
}

class NoConversion : public platform::TextConversion {
 public:
    int WideToBytes(platform::CodePage, const wchar_t*, char*, int) override { return 0; }
    int BytesToWide(platform::CodePage, const char*, wchar_t*, int) override { return 0; }
};

TEST(IpcId, IsRefusedWhenItCanNotBeConverted) {
    NoConversion none;
    EXPECT_THAT(CheckId("plain", none).Why(), HasSubstr("code page"));
}

}  // namespace
}  // namespace velmo_parent
