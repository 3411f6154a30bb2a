#include <gmock/gmock.h>
#include <pthread.h>

#include <cstddef>

#include "platform/threads.h"

namespace {

// A stack larger than the address space is the one thing that the system can be made to refuse at will.
TEST(Threads, AreNullWhenTheSystemHasNone) {
    pthread_attr_t usual;
    pthread_attr_t huge;
    ASSERT_EQ(::pthread_getattr_default_np(&usual), 0);
    ASSERT_EQ(::pthread_attr_init(&huge), 0);
    ASSERT_EQ(::pthread_attr_setstacksize(&huge, std::size_t{1} << 50), 0);
    ASSERT_EQ(::pthread_setattr_default_np(&huge), 0);
    bool ran = false;

    const auto thread = platform::SystemThreads().Start([&] { ran = true; });

    ASSERT_EQ(::pthread_setattr_default_np(&usual), 0);
    ::pthread_attr_destroy(&huge);
    ::pthread_attr_destroy(&usual);
    EXPECT_EQ(thread, nullptr);
    EXPECT_FALSE(ran);
}

}  // namespace
