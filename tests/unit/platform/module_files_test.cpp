#include "platform/module_files.h"

#include <gmock/gmock.h>

#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>

#include "contract/object_names.h"

namespace {

using platform::SystemModuleFiles;

const int g_variable = 1;

TEST(ModuleFiles, FindTheProgramByAVariableOfIts) {
    const auto file = SystemModuleFiles().FileOf(&g_variable);

    ASSERT_TRUE(file.has_value());
    const std::filesystem::path path(*file);
    EXPECT_TRUE(path.is_absolute()) << *file;
    EXPECT_TRUE(exists(path)) << *file;
    EXPECT_EQ(path.filename().string(), contract::OnWindows() ? "platform_tests.exe" : "platform_tests");
}

TEST(ModuleFiles, FindALibraryByAVariableOfIts) {
    const auto file = SystemModuleFiles().FileOf(stdout);  // lies in the C library

    ASSERT_TRUE(file.has_value());
    EXPECT_TRUE(std::filesystem::path(*file).is_absolute()) << *file;
    EXPECT_THAT(*file, testing::HasSubstr(contract::OnWindows() ? ".dll" : "libc.so"));
}

TEST(ModuleFiles, SeparateFoldersByTheSystemsSeparator) {
    const auto file = SystemModuleFiles().FileOf(&g_variable);

    ASSERT_TRUE(file.has_value());
    EXPECT_EQ(file->substr(file->rfind(platform::kPathSeparator) + 1),
              std::filesystem::path(*file).filename().string());
}

TEST(ModuleFiles, FindNothingForMemoryOfNoModule) {
    const auto onHeap = std::make_unique<int>(1);
    const int onStack = 1;

    EXPECT_FALSE(SystemModuleFiles().FileOf(onHeap.get()).has_value());
    EXPECT_FALSE(SystemModuleFiles().FileOf(&onStack).has_value());
    EXPECT_FALSE(SystemModuleFiles().FileOf(nullptr).has_value());
}

}  // namespace
