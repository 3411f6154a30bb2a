#include <gtest/gtest.h>
#include <windows.h>

#include <string>

#include "child_roles.h"
#include "contract/own_child.h"
#include "output_of.h"
#include "platform/standard_streams.h"
#include "platform/win32/child_process.h"
#include "platform/win32/unique_handle.h"

namespace {

using contract::OwnChild;
using contract::OwnProgram;
using platform::win32::UniqueHandle;

constexpr UINT kKilled = 9;

platform::ChildStart TiedSleeper() {
    platform::ChildStart start{OwnProgram(), "sleep-for-good:", {}, {}, {}};
    start.lifetime = platform::Lifetime::ThisProcess;
    return start;
}

const roles::Registered g_sleep("sleep-for-good", [](const auto&) {
    ::Sleep(contract::kWatchdogMs);
    return 0;
});

// Starts a tied child and is gone before that one can run.
const roles::Registered g_dieStarting("die-while-starting", [](const auto&) {
    const auto children = platform::win32::MakeChildProcesses({.onCreated = [](std::uint32_t id) {
        platform::SystemStandardStreams().Write(platform::StandardStream::Output, std::to_string(id));
        ::TerminateProcess(::GetCurrentProcess(), kKilled);
    }});
    std::string error;
    (void)children->Start(TiedSleeper(), error);
    return 0;
});

TEST(TiedChildOnWindows, IsNotLeftByAParentThatDiesBeforeItRuns) {
    const TemporaryFile file;
    OwnChild parent(platform::ChildStart{OwnProgram(), "die-while-starting:", {}, file.Path(), {}});
    EXPECT_EQ(parent.EndCode(), static_cast<int>(kKilled));
    const auto id = static_cast<DWORD>(std::stoul(file.Content()));
    const UniqueHandle child(::OpenProcess(SYNCHRONIZE | PROCESS_TERMINATE, FALSE, id));
    if (!child) return;  // gone already
    const DWORD waited = ::WaitForSingleObject(child.Get(), contract::kWatchdogMs / 4);
    EXPECT_EQ(waited, WAIT_OBJECT_0);
    if (waited != WAIT_OBJECT_0) ::TerminateProcess(child.Get(), 1);
}

TEST(TiedChildOnWindows, IsTiedBeforeItRunsWhereTheSystemCanNotDoItEarlier) {
    auto children = platform::win32::MakeChildProcesses({.atCreation = false});
    std::string error;
    const auto child = children->Start(TiedSleeper(), error);
    ASSERT_NE(child, nullptr) << error;
    EXPECT_FALSE(child->WaitForExit(50).has_value());

    children.reset();  // with its job

    EXPECT_TRUE(child->WaitForExit(contract::kWatchdogMs / 4).has_value());
    child->Kill();  // harmless, unless it has not ended
}

}  // namespace
