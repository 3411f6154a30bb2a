#include "platform/threads.h"

#include <gmock/gmock.h>

#include <atomic>
#include <future>
#include <memory>

#include "child_roles.h"
#include "contract/own_child.h"
#include "output_of.h"

namespace {

using platform::SystemThreads;
using platform::Thread;

const roles::Registered g_abandon("abandon", [](const auto&) {
    std::promise<void> never;
    {
        const auto thread = SystemThreads().Start([&] { never.get_future().wait(); });
    }
    return 0;  // not reached
});

const roles::Registered g_throw("throw", [](const auto&) {
    const auto thread = SystemThreads().Start([] { throw 1; });
    thread->Join();
    return 0;  // not reached
});

TEST(Threads, RunTheBodyOnAThreadOfItsOwn) {
    std::uint32_t inside = 0;

    const auto thread = SystemThreads().Start([&] { inside = platform::CurrentThreadId(); });

    ASSERT_NE(thread, nullptr);
    EXPECT_TRUE(thread->Join());
    EXPECT_NE(inside, 0U);
    EXPECT_NE(inside, platform::CurrentThreadId());
}

TEST(Threads, JoinWaitsForTheEnd) {
    std::promise<void> mayEnd;
    bool ended = false;
    const auto thread = SystemThreads().Start([&] {
        mayEnd.get_future().wait();
        ended = true;
    });
    ASSERT_NE(thread, nullptr);

    mayEnd.set_value();

    EXPECT_TRUE(thread->Join());
    EXPECT_TRUE(ended);
}

TEST(Threads, KnowWhetherTheyAreTheCurrentOne) {
    std::promise<Thread*> itself;
    bool currentInside = false;
    const auto thread = SystemThreads().Start([&] { currentInside = itself.get_future().get()->IsCurrent(); });
    ASSERT_NE(thread, nullptr);
    itself.set_value(thread.get());

    EXPECT_FALSE(thread->IsCurrent());
    EXPECT_TRUE(thread->Join());
    EXPECT_TRUE(currentInside);
    EXPECT_FALSE(thread->IsCurrent());
}

TEST(Threads, CannotJoinThemselvesAndStayAttached) {
    std::promise<Thread*> itself;
    bool joinedItself = true;
    const auto thread = SystemThreads().Start([&] { joinedItself = itself.get_future().get()->Join(); });
    ASSERT_NE(thread, nullptr);
    itself.set_value(thread.get());

    EXPECT_TRUE(thread->Join());
    EXPECT_FALSE(joinedItself);
}

TEST(Threads, AreJoinedOnce) {
    const auto thread = SystemThreads().Start([] {});
    ASSERT_NE(thread, nullptr);

    EXPECT_TRUE(thread->Join());
    EXPECT_FALSE(thread->Join());
}

TEST(Threads, EndTheProcessWhenTheyAreForgottenOrThrow) {
    for (const char* const role : {"abandon:", "throw:"}) {
        const TemporaryFile report;  // what the run-time library says about it
        contract::OwnChild child(platform::ChildStart{contract::OwnProgram(), role, {}, report.Path(), report.Path()});
        const auto exit = child.End();
        ASSERT_TRUE(exit.has_value());
        EXPECT_TRUE(exit->code != 0 || exit->signal != 0) << role;
    }
}

TEST(Threads, OfOneProcessShareItsNumber) {
    std::uint32_t inside = 0;
    const auto thread = SystemThreads().Start([&] { inside = platform::CurrentProcessId(); });
    ASSERT_NE(thread, nullptr);
    EXPECT_TRUE(thread->Join());

    EXPECT_NE(inside, 0U);
    EXPECT_EQ(inside, platform::CurrentProcessId());
}

}  // namespace
