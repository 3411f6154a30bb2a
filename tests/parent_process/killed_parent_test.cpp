// A parent that is killed takes its process with it, unless it wished otherwise, and leaves nothing behind.

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>

#include "parent_fixture.h"
#include "platform/child_process.h"
#include "platform/kernel_objects.h"
#include "platform/module_files.h"

namespace parent_process_tests {
namespace {

bool Exists(const std::string& mapping) {
    return platform::SystemKernelObjects().OpenMapping(mapping, platform::MappingAccess::ReadOnly) != nullptr;
}

// Nobody tells of this either.
bool AwaitEndOf(const std::string& mapping) {
    const auto end = std::chrono::steady_clock::now() + kPatience;
    while (Exists(mapping)) {
        if (std::chrono::steady_clock::now() > end) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

// What is left of objects whose names begin so, where objects are files.
int FilesOf(const std::string& id) {
    const std::filesystem::path folder = "/dev/shm";
    int count = 0;
    if (!std::filesystem::exists(folder)) return 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        count += entry.path().filename().string().find(id) != std::string::npos ? 1 : 0;
    return count;
}

class KilledParent : public ParentProcess {
 protected:
    ~KilledParent() override {
        if (m_parent) m_parent->Kill();  // a test that failed early has not
    }

    // A parent in this role on a library with this script, which has submitted one frame, and its link's id.
    void StartParent(const std::string& role, const std::string& script) {
        m_library.Put("hvq.script", LayersOf(kSmall) + "record calls.txt\n" + script);
        m_library.Put("inhouse_144p_input.dll", "a network");
        static const int kHere = 0;
        std::string error;
        m_parent = platform::SystemChildProcesses().Start(
            {platform::SystemModuleFiles().FileOf(&kHere).value_or(""),
             "role " + role + " " + m_options.idPrefix + " " + m_library.Folder().filename().string(),
             {},
             m_output.Path(),
             m_output.Path()},
            error);
        ASSERT_TRUE(m_parent) << error;
        const std::string idPath = (m_library.Folder() / "id.txt").string();
        ASSERT_TRUE(process_tests::AwaitFileText(idPath, "\n")) << m_output.Text();
        ASSERT_TRUE(process_tests::AwaitFileText(CallsPath(), " hvqInfer "));
        m_id = process_tests::FileText(idPath);
        m_id.erase(m_id.find_last_not_of("\r\n") + 1);
        ASSERT_TRUE(Exists(m_id + "FO_shm"));
    }
    void KillParent() {
        m_parent->Kill();
        ASSERT_TRUE(m_parent->WaitForExit(kPatienceMs));
    }
    void ExpectThatNothingStays() {
        for (const char* suffix : {"C", "FI", "E", "FO", "L"})
            EXPECT_TRUE(AwaitEndOf(m_id + suffix + "_shm")) << suffix;
        // Files of dead processes go with the next process that uses such objects.
        ASSERT_NO_FATAL_FAILURE(Start(LayersOf(kSmall)));
        ExpectAGoodEnd();
        EXPECT_EQ(FilesOf(m_id), 0);
    }

    std::unique_ptr<platform::ChildProcess> m_parent;
    std::string m_id;
};

TEST_F(KilledParent, TakesItsProcessWithItAndLeavesNoObject) {
    // Its process is inside the library by then, where neither a command nor its own watchdog ends it.
    ASSERT_NO_FATAL_FAILURE(StartParent("parent", "gate hvqInfer 1 never\n"));
    ASSERT_NO_FATAL_FAILURE(KillParent());
    ExpectThatNothingStays();
}

TEST_F(KilledParent, LeavesAProcessThatMayOutliveItToItsOwnWatchdog) {
    ASSERT_NO_FATAL_FAILURE(StartParent("outlived", ""));
    const auto killed = std::chrono::steady_clock::now();
    ASSERT_NO_FATAL_FAILURE(KillParent());
    ASSERT_TRUE(AwaitEndOf(m_id + "FO_shm"));
    // Six heartbeats, a second apart, of which the parent can have had the first in its hands.
    EXPECT_GE(std::chrono::steady_clock::now() - killed, std::chrono::seconds(4));
    ExpectThatNothingStays();
}

}  // namespace
}  // namespace parent_process_tests
