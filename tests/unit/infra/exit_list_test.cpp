#include "infra/exit_list.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace infra {
namespace {

std::string& Called() {
    static std::string& called = *new std::string;
    return called;
}

TEST(ExitList, CallsTheLatestFirstAndEachOnce) {
    Called().clear();
    AtProcessEnd([] { Called() += "a"; });
    AtProcessEnd([] { Called() += "b"; });
    EXPECT_EQ(Called(), "");

    RunExitList();
    EXPECT_EQ(Called(), "ba");
    RunExitList();
    EXPECT_EQ(Called(), "ba");
}

TEST(ExitList, TakesMoreWhileItRuns) {
    Called().clear();
    AtProcessEnd([] { Called() += "last"; });
    AtProcessEnd([] {
        Called() += "first ";
        AtProcessEnd([] { Called() += "added "; });
    });

    RunExitList();

    EXPECT_EQ(Called(), "first added last");
}

TEST(ExitList, LeavesOutWhatItHasNoRoomFor) {
    Called().clear();
    for (int call = 0; call < 100; ++call)
        AtProcessEnd([] { Called() += "x"; });

    RunExitList();

    EXPECT_EQ(Called(), std::string(64, 'x'));
}

#if GTEST_HAS_DEATH_TEST

TEST(ExitListDeathTest, RunsAtAnExitThatNobodyPrepared) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");

    EXPECT_EXIT(
        {
            AtProcessEnd([] { std::fputs("called\n", stderr); });
            std::exit(0);
        },
        testing::ExitedWithCode(0), "called");
}

TEST(ExitListDeathTest, IsNotRunTwice) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");

    EXPECT_EXIT(
        {
            std::atexit([] { std::fputs("handler\n", stderr); });
            AtProcessEnd([] { std::fputs("called ", stderr); });
            RunExitList();
            std::exit(0);
        },
        testing::ExitedWithCode(0), "^called handler");
}

#endif

}  // namespace
}  // namespace infra
