#include "platform/posix/unique_descriptor.h"

#include <fcntl.h>
#include <gmock/gmock.h>

#include <cerrno>
#include <utility>

namespace {

using platform::posix::UniqueDescriptor;

int OpenOne() {
    return ::open("/dev/null", O_RDONLY | O_CLOEXEC);
}
bool IsOpen(int descriptor) {
    return ::fcntl(descriptor, F_GETFD) != -1;
}

TEST(UniqueDescriptor, ClosesAtItsEndAndKeepsErrno) {
    const int number = OpenOne();
    errno = ENOTTY;

    { const UniqueDescriptor owner(number); }

    EXPECT_EQ(errno, ENOTTY);
    EXPECT_FALSE(IsOpen(number));
}

TEST(UniqueDescriptor, MovesItsDescriptor) {
    const int number = OpenOne();
    UniqueDescriptor first(number);

    UniqueDescriptor second(std::move(first));
    UniqueDescriptor third(OpenOne());
    const int replaced = third.Get();
    third = std::move(second);

    EXPECT_EQ(third.Get(), number);
    EXPECT_TRUE(IsOpen(number));
    EXPECT_FALSE(IsOpen(replaced));
}

TEST(UniqueDescriptor, GivesItsDescriptorAway) {
    UniqueDescriptor owner(OpenOne());

    const UniqueDescriptor next(owner.Release());

    EXPECT_FALSE(static_cast<bool>(owner));
    EXPECT_TRUE(IsOpen(next.Get()));
}

}  // namespace
