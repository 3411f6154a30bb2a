#include "infra/profile_log_rounds.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "contract/own_child.h"
#include "profile_log_rounds_role.h"

namespace infra {
namespace {

constexpr std::int64_t kGreatest = std::numeric_limits<std::int64_t>::max();

TEST(ProfileLogRounds, FallsBackToTheDefaultWithoutAUsableNumber) {
    for (const char* text :
         {static_cast<const char*>(nullptr), "", "abc", "0", "-5", "-1", " ", "+", "-", "x5", "--5"}) {
        EXPECT_EQ(ProfileLogRounds(text, 100), 100) << (text == nullptr ? "null" : text);
        EXPECT_EQ(ProfileLogRounds(text, 7), 7) << (text == nullptr ? "null" : text);
    }
}

TEST(ProfileLogRounds, FallsBackTo100WhereTheDefaultIsBelow1) {
    EXPECT_EQ(ProfileLogRounds(nullptr, 1), 1);
    EXPECT_EQ(ProfileLogRounds(nullptr, 0), 100);
    EXPECT_EQ(ProfileLogRounds(nullptr, -1), 100);
    EXPECT_EQ(ProfileLogRounds("0", std::numeric_limits<std::int64_t>::min()), 100);
}

TEST(ProfileLogRounds, TakesANumberFrom1On) {
    EXPECT_EQ(ProfileLogRounds("1", 100), 1);
    EXPECT_EQ(ProfileLogRounds("25", 100), 25);
    EXPECT_EQ(ProfileLogRounds("1000000", 100), 1000000);
}

TEST(ProfileLogRounds, AllowsLeadingBlanksAndASign) {
    EXPECT_EQ(ProfileLogRounds("  \t\n42", 100), 42);
    EXPECT_EQ(ProfileLogRounds(" +42", 100), 42);
    EXPECT_EQ(ProfileLogRounds("00042", 100), 42);
}

TEST(ProfileLogRounds, StopsAtTheFirstCharThatDoesNotFit) {
    EXPECT_EQ(ProfileLogRounds("25x", 100), 25);
    EXPECT_EQ(ProfileLogRounds("50ms", 100), 50);
    EXPECT_EQ(ProfileLogRounds("3 4", 100), 3);
    EXPECT_EQ(ProfileLogRounds("0x10", 100), 100);
    EXPECT_EQ(ProfileLogRounds("1.9", 100), 1);
}

TEST(ProfileLogRounds, SaturatesAt64Bits) {
    EXPECT_EQ(ProfileLogRounds("9223372036854775807", 100), kGreatest);
    EXPECT_EQ(ProfileLogRounds("9223372036854775808", 100), kGreatest);
    EXPECT_EQ(ProfileLogRounds("99999999999999999999999", 100), kGreatest);
    EXPECT_EQ(ProfileLogRounds("-99999999999999999999999", 100), 100);
}

TEST(ProfileLogRounds, ReadsTheEnvironmentOfTheProcess) {
    const auto roundsWith = [](const std::vector<std::pair<std::string, std::string>>& environment) {
        contract::OwnChild child(
            platform::ChildStart{contract::OwnProgram(), kProfileLogRoundsRole, environment, {}, {}});
        return child.EndCode();
    };

    EXPECT_EQ(roundsWith({{"CALYR_PROFILE_LOG_ROUNDS", "25x"}}), 25);
    EXPECT_EQ(roundsWith({{"CALYR_PROFILE_LOG_ROUNDS", "1"}}), 1);
    EXPECT_EQ(roundsWith({{"CALYR_PROFILE_LOG_ROUNDS", ""}}), 12);
    EXPECT_EQ(roundsWith({{"CALYR_PROFILE_LOG_ROUNDS", "abc"}}), 12);
    EXPECT_EQ(roundsWith({{"CALYR_PROFILE_LOG_ROUNDS", "0"}}), 12);
}

}  // namespace
}  // namespace infra
