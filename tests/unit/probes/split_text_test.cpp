#include "probes/split_text.h"

#include <gmock/gmock.h>

namespace probes {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(SplitText, GivesThePiecesInTheirOrder) {
    EXPECT_THAT(SplitText("i7-8650U", '-'), ElementsAre("i7", "8650U"));
    EXPECT_THAT(SplitText("one", ' '), ElementsAre("one"));
}

TEST(SplitText, GivesAnEmptyPieceBetweenAdjacentDelimiters) {
    EXPECT_THAT(SplitText("a  b", ' '), ElementsAre("a", "", "b"));
    EXPECT_THAT(SplitText("  a", ' '), ElementsAre("", "", "a"));
}

TEST(SplitText, GivesNothingBehindADelimiterAtTheEnd) {
    EXPECT_THAT(SplitText("a ", ' '), ElementsAre("a"));
    EXPECT_THAT(SplitText("a  ", ' '), ElementsAre("a", ""));
    EXPECT_THAT(SplitText("-", '-'), ElementsAre(""));
}

TEST(SplitText, GivesNothingForAnEmptyText) {
    EXPECT_THAT(SplitText("", ' '), IsEmpty());
}

}  // namespace
}  // namespace probes
