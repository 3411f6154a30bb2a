#include "app/terminate_handler.h"

#include <gtest/gtest.h>

#include <new>
#include <stdexcept>
#include <string>
#include <thread>

namespace app {
namespace {

// Ends as the process does when nobody catches what `thrower` throws on a thread of its own.
template <class Thrower>
void EndByAnExceptionOfAThread(Thrower thrower) {
    InstallTerminateHandler();
    std::thread(thrower).join();
}

TEST(TerminateHandlerDeathTest, SaysWhatWasThrown) {
    EXPECT_EXIT(EndByAnExceptionOfAThread([] { throw std::runtime_error("the reason"); }),
                ::testing::ExitedWithCode(70), "velmoml ends: uncaught exception: the reason");
}

TEST(TerminateHandlerDeathTest, SaysSoWhenMemoryIsMissing) {
    EXPECT_EXIT(EndByAnExceptionOfAThread([] { throw std::bad_alloc(); }), ::testing::ExitedWithCode(70),
                "velmoml ends: uncaught exception: ");
}

TEST(TerminateHandlerDeathTest, CutsALongReason) {
    EXPECT_EXIT(EndByAnExceptionOfAThread([] { throw std::runtime_error(std::string(5000, 'x')); }),
                ::testing::ExitedWithCode(70), "velmoml ends: uncaught exception: xxx");
}

TEST(TerminateHandlerDeathTest, SaysSoOfATypeThatNobodyKnows) {
    EXPECT_EXIT(EndByAnExceptionOfAThread([] { throw 42; }), ::testing::ExitedWithCode(70),
                "velmoml ends: uncaught exception of an unknown type");
}

TEST(TerminateHandlerDeathTest, SaysSoWhenNothingWasThrown) {
    EXPECT_EXIT(
        {
            InstallTerminateHandler();
            std::terminate();
        },
        ::testing::ExitedWithCode(70), "velmoml ends: terminate was called without an exception");
}

}  // namespace
}  // namespace app
