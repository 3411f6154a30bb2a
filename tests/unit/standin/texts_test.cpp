#include "standin/texts.h"

#include <gtest/gtest.h>

#include "standin_support/test_engine.h"

namespace standin {
namespace {

TEST(Texts, TurnWideTextIntoUtf8) {
    EXPECT_EQ(Utf8FromWide(L""), "");
    EXPECT_EQ(Utf8FromWide(L"a\x7F"), "a\x7F");
    EXPECT_EQ(Utf8FromWide(L"\x80\x7FF"), "\xC2\x80\xDF\xBF");
    EXPECT_EQ(Utf8FromWide(L"\x800\xFFFD"), "\xE0\xA0\x80\xEF\xBF\xBD");
    EXPECT_EQ(Utf8FromWide(L"\U00010000\U0010FFFF"), "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF");
}

TEST(Texts, ReplaceHalvesOfPairs) {
    const wchar_t lone[] = {0xD800, L'a', 0xDC00, 0};

    EXPECT_EQ(Utf8FromWide(lone),
              "\xEF\xBF\xBD"
              "a\xEF\xBF\xBD");
}

TEST(Texts, JoinPairs) {
    const wchar_t pair[] = {0xD83D, 0xDE00, 0};

    EXPECT_EQ(Utf8FromWide(pair), "\xF0\x9F\x98\x80");
}

TEST(Texts, FindAFileByItsUtf8Name) {
    const standin_support::TemporaryFolder folder;
    const std::filesystem::path file = folder.Path() / std::filesystem::path(u8"\u00E4\u4E2D");
    standin_support::WriteText(file, "x");

    EXPECT_TRUE(std::filesystem::exists(PathOf(Utf8(file))));
}

TEST(Texts, LeaveANameAloneThatIsNoUtf8) {
    EXPECT_FALSE(std::filesystem::exists(PathOf("\xFF\xFE")));
}

TEST(Texts, ShowDims) {
    EXPECT_EQ(DimsText({}), "no dimensions");
    EXPECT_EQ(DimsText({5}), "5");
    EXPECT_EQ(DimsText({1, 4, 144, 256}), "1x4x144x256");
}

}  // namespace
}  // namespace standin
