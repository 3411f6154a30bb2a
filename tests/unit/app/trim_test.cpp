#include "app/trim.h"

#include <gtest/gtest.h>

namespace app {
namespace {

TEST(Trim, TakesWhiteSpaceOfBothEndsAndLeavesWhatIsInside) {
    EXPECT_EQ(Trim(" \t\n\v\f\rengine one\r\n\f\v\t "), "engine one");
    EXPECT_EQ(Trim("id"), "id");
    EXPECT_EQ(Trim("\"quoted id\""), "\"quoted id\"");
}

TEST(Trim, LeavesInnerLineEndsAlone) {
    EXPECT_EQ(Trim(" a \n b "), "a \n b");
}

TEST(Trim, MakesTheEmptyTextOfNothingAndOfBlanks) {
    EXPECT_EQ(Trim(""), "");
    EXPECT_EQ(Trim(" "), "");
    EXPECT_EQ(Trim(" \t\r\n"), "");
}

TEST(Trim, TakesThirtyTwoThousandBlanks) {
    const std::string blanks(32'000, ' ');
    EXPECT_EQ(Trim(blanks), "");
    EXPECT_EQ(Trim(blanks + "id" + blanks), "id");
}

TEST(Trim, TakesBytesAboveSevenBitsAndOtherControlsForText) {
    EXPECT_EQ(Trim(" \xA0id\x85 "), "\xA0id\x85");
    EXPECT_EQ(Trim("\x01id\x1F"), "\x01id\x1F");
}

TEST(TrimLeft, LeavesTheEnd) {
    EXPECT_EQ(TrimLeft("  id  "), "id  ");
}

TEST(TrimRight, LeavesTheBeginning) {
    EXPECT_EQ(TrimRight("  id  "), "  id");
}

}  // namespace
}  // namespace app
