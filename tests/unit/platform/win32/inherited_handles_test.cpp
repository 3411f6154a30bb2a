#include <gmock/gmock.h>
#include <windows.h>

#include <cstdint>
#include <string>

#include "child_roles.h"
#include "contract/own_child.h"
#include "output_of.h"
#include "platform/win32/unique_handle.h"

namespace {

using contract::OwnChild;
using platform::win32::UniqueHandle;

const roles::Registered g_set("set-handle", [](const std::string& number) {
    ::SetEvent(reinterpret_cast<HANDLE>(static_cast<std::uintptr_t>(std::stoull(number))));
    return 0;
});

TEST(ChildOnWindows, GetsNoHandleButTheStreams) {
    SECURITY_ATTRIBUTES inheritable{sizeof(inheritable), nullptr, TRUE};
    const UniqueHandle event(::CreateEventA(&inheritable, FALSE, FALSE, nullptr));
    ASSERT_TRUE(static_cast<bool>(event));

    OwnChild child("set-handle:" + std::to_string(reinterpret_cast<std::uintptr_t>(event.Get())));

    EXPECT_EQ(child.EndCode(), 0);
    EXPECT_EQ(::WaitForSingleObject(event.Get(), 0), static_cast<DWORD>(WAIT_TIMEOUT));
}

DWORD OpenHandles() {
    DWORD count = 0;
    EXPECT_NE(::GetProcessHandleCount(::GetCurrentProcess(), &count), 0);
    return count;
}

TEST(ChildOnWindows, LeavesNoHandleBehind) {
    EXPECT_EQ(OwnChild("exit:0").EndCode(), 0);
    const DWORD before = OpenHandles();

    for (int i = 0; i < 3; ++i) {
        const TemporaryFile output;
        std::string error;
        OwnChild child(platform::ChildStart{contract::OwnProgram(), "exit:0", {}, output.Path(), output.Path()});
        EXPECT_EQ(child.EndCode(), 0);
        EXPECT_EQ(platform::SystemChildProcesses().Start({"/no such program", "", {}, {}, {}}, error), nullptr);
        EXPECT_EQ(platform::SystemChildProcesses().Start({contract::OwnProgram(), "", {}, "/no such/file", {}}, error),
                  nullptr);
        platform::SystemChildProcesses().Start({contract::OwnProgram(), "exit:0", {}, {}, {}}, error).reset();
    }

    EXPECT_EQ(OpenHandles(), before);
}

TEST(UniqueHandle, KeepsTheLastErrorWhileClosing) {
    UniqueHandle handle(::CreateEventA(nullptr, FALSE, FALSE, nullptr));
    ASSERT_TRUE(static_cast<bool>(handle));
    ::SetLastError(1234);

    handle.Reset();

    EXPECT_EQ(::GetLastError(), 1234U);
}

TEST(UniqueHandle, TakesTheInvalidValueAsNone) {
    EXPECT_FALSE(static_cast<bool>(UniqueHandle(INVALID_HANDLE_VALUE)));
    EXPECT_FALSE(static_cast<bool>(UniqueHandle(nullptr)));
}

TEST(UniqueHandle, ClosesWhatItReplaces) {
    UniqueHandle handle(::CreateEventA(nullptr, FALSE, FALSE, nullptr));
    const HANDLE number = handle.Get();

    handle = UniqueHandle();

    DWORD flags = 0;
    EXPECT_EQ(::GetHandleInformation(number, &flags), 0);
}

}  // namespace
