// A parent that is killed takes its process with it, and leaves nothing behind.

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
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

TEST_F(ParentProcess, EndsWithAParentThatIsKilledAndLeavesNoObject) {
    // Its process is inside the library by then, where neither a command nor its own watchdog ends it.
    m_library.Put("hvq.script", LayersOf(kSmall) + "record calls.txt\ngate hvqInfer 1 never\n");
    m_library.Put("inhouse_144p_input.dll", "a network");
    static const int kHere = 0;
    std::string error;
    const std::string folder = m_library.Folder().filename().string();
    const auto parent =
        platform::SystemChildProcesses().Start({platform::SystemModuleFiles().FileOf(&kHere).value_or(""),
                                                "role parent " + m_options.idPrefix + " " + folder,
                                                {},
                                                m_output.Path(),
                                                m_output.Path()},
                                               error);
    ASSERT_TRUE(parent) << error;
    const std::string idPath = (m_library.Folder() / "id.txt").string();
    ASSERT_TRUE(process_tests::AwaitFileText(idPath, "\n")) << m_output.Text();
    ASSERT_TRUE(process_tests::AwaitFileText(CallsPath(), " hvqInfer "));
    std::string id = process_tests::FileText(idPath);
    id.erase(id.find_last_not_of("\r\n") + 1);
    ASSERT_TRUE(Exists(id + "FO_shm"));

    parent->Kill();
    ASSERT_TRUE(parent->WaitForExit(kPatienceMs));

    for (const char* suffix : {"C", "FI", "E", "FO", "L"})
        EXPECT_TRUE(AwaitEndOf(id + suffix + "_shm")) << suffix;
    // Files of dead processes go with the next process that uses such objects.
    ASSERT_NO_FATAL_FAILURE(Start(LayersOf(kSmall)));
    ExpectAGoodEnd();
    EXPECT_EQ(FilesOf(id), 0);
}

}  // namespace
}  // namespace parent_process_tests
