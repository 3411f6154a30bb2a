#include "velmo_tool/check/guarded_text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

namespace velmo_tool {
namespace {

using testing::HasSubstr;
using testing::Optional;

std::string Fetch(std::uint64_t length, const std::string& written, std::optional<std::string>& complaint) {
    return FetchGuarded(
        length, [&](char* buffer) { std::copy(written.begin(), written.end(), buffer); }, complaint);
}

TEST(GuardedText, IsTheTextWithoutComplaintWhenTheLengthIsRight) {
    for (const std::string& text : {std::string(), std::string("a"), std::string("OpenVINO"), std::string(3000, 'x')}) {
        std::optional<std::string> complaint;
        EXPECT_EQ(Fetch(text.size(), text, complaint), text);
        EXPECT_EQ(complaint, std::nullopt) << text;
    }
}

TEST(GuardedText, MayBeTerminatedBehindItsLength) {
    std::optional<std::string> complaint;
    EXPECT_EQ(Fetch(3, std::string("GPU\0", 4), complaint), "GPU");
    EXPECT_EQ(complaint, std::nullopt);
}

TEST(GuardedText, TellsALengthThatCountsTheTerminator) {
    std::optional<std::string> complaint;
    (void)Fetch(4, std::string("GPU\0", 4), complaint);
    EXPECT_THAT(complaint, Optional(HasSubstr("counts the terminator")));
}

TEST(GuardedText, TellsATextThatIsShorterThanItsLength) {
    std::optional<std::string> complaint;
    (void)Fetch(8, "GPU", complaint);
    EXPECT_THAT(complaint, Optional(std::string("a length of 8 for a text of 3 chars")));
}

TEST(GuardedText, TellsATextThatIsLongerThanItsLength) {
    std::optional<std::string> complaint;
    (void)Fetch(2, "GPU", complaint);
    EXPECT_THAT(complaint, Optional(std::string("writes a text longer than its length of 2")));
}

TEST(GuardedText, TellsBytesBehindTheRoom) {
    std::optional<std::string> complaint;
    (void)Fetch(2, "GPU0", complaint);
    EXPECT_THAT(complaint, Optional(HasSubstr("writes behind the room for 2 chars")));
}

TEST(GuardedText, AsksForNothingWhenTheLengthCannotBe) {
    for (const std::uint64_t length : {kLongestText + 1, ~std::uint64_t{0}}) {
        std::optional<std::string> complaint;
        bool asked = false;
        EXPECT_EQ(FetchGuarded(
                      length, [&](char*) { asked = true; }, complaint),
                  "");
        EXPECT_FALSE(asked);
        EXPECT_THAT(complaint, Optional(HasSubstr("can't be")));
    }
    std::optional<std::string> complaint;
    EXPECT_EQ(Fetch(kLongestText, std::string(kLongestText, 'x'), complaint).size(), kLongestText);
    EXPECT_EQ(complaint, std::nullopt);
}

}  // namespace
}  // namespace velmo_tool
