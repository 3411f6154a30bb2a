#include "infra/system_error.h"

#include <gtest/gtest.h>

namespace infra {
namespace {

TEST(SystemError, ReadsAsLogsAndPeersKnowIt) {
    EXPECT_EQ(GenericErrorText(std::errc::device_or_resource_busy), "device or resource busy");
    EXPECT_EQ(GenericErrorText(std::errc::no_such_process), "no such process");
    EXPECT_EQ(GenericErrorText(std::errc::operation_not_permitted), "operation not permitted");
    EXPECT_EQ(GenericErrorText(std::errc::resource_deadlock_would_occur), "resource deadlock would occur");
    EXPECT_EQ(GenericErrorText(std::errc::resource_unavailable_try_again), "resource unavailable try again");
    EXPECT_EQ(GenericErrorText(std::errc::value_too_large), "value too large");
}

TEST(SystemError, IsWordedByTheStandardLibraryForOtherCodes) {
    const int code = static_cast<int>(std::errc::invalid_argument);

    EXPECT_EQ(GenericErrorText(std::errc::invalid_argument), std::generic_category().message(code));
}

TEST(SystemError, ThrowsWhatSaysExactlyTheTextAndComparesToTheCode) {
    try {
        ThrowSystemError(std::errc::no_such_process);
    } catch (const std::system_error& error) {
        EXPECT_STREQ(error.what(), "no such process");
        EXPECT_EQ(error.code(), std::errc::no_such_process);
        EXPECT_STREQ(error.code().category().name(), "generic");
        return;
    }
    FAIL() << "nothing was thrown";
}

}  // namespace
}  // namespace infra
