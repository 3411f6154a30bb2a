#include "engine/two_step_text.h"

#include <gtest/gtest.h>

#include <limits>

namespace hvq::inference {
namespace {

template <typename Length>
void ExpectTooLong(Length length) {
    try {
        (void)ZeroText(length);
        ADD_FAILURE() << length << " was accepted";
    } catch (const std::length_error& error) {
        EXPECT_STREQ(error.what(), "string too long") << length;
    }
}

TEST(ZeroText, HasExactlyTheLengthAndATerminatorBehind) {
    const std::string text = ZeroText(std::uint64_t{3});

    EXPECT_EQ(text, std::string(3, '\0'));
    EXPECT_EQ(text.c_str()[3], '\0');
    EXPECT_EQ(ZeroText(std::int32_t{0}), "");
}

TEST(ZeroText, RefusesNegativeLengths) {
    ExpectTooLong(std::int32_t{-1});
    ExpectTooLong(std::numeric_limits<std::int32_t>::min());
}

TEST(ZeroText, RefusesLengthsThatNoTextCanHave) {
    ExpectTooLong(kLongestText + 1);
    ExpectTooLong(std::uint64_t{1} << 40);
    ExpectTooLong(std::numeric_limits<std::uint64_t>::max());
}

TEST(FetchText, ChecksAfterEachOfItsSteps) {
    std::string order;

    const std::string text = FetchText(
        [&] {
            order += "length ";
            return std::int32_t{2};
        },
        [&](char* buffer) {
            order += "fill ";
            buffer[0] = 'a';
            buffer[1] = 'b';
        },
        [&] { order += "check "; });

    EXPECT_EQ(text, "ab");
    EXPECT_EQ(order, "length check fill check ");
}

TEST(FetchText, LetsTheCheckSpeakBeforeABadLengthDoes) {
    EXPECT_THROW(FetchText([] { return std::int32_t{-1}; }, [](char*) {}, [] { throw std::runtime_error("library"); }),
                 std::runtime_error);
}

TEST(FetchText, LeavesRoomForATerminatorThatTheLibraryWrites) {
    const std::string text = FetchText([] { return std::uint64_t{2}; },
                                       [](char* buffer) {
                                           buffer[0] = 'a';
                                           buffer[1] = 'b';
                                           buffer[2] = '\0';
                                       },
                                       [] {});

    EXPECT_EQ(text, "ab");
}

}  // namespace
}  // namespace hvq::inference
