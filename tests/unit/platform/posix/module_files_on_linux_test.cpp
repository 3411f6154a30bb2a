#include <dlfcn.h>
#include <gmock/gmock.h>
#include <sys/auxv.h>

#include <filesystem>
#include <string>

#include "contract/object_names.h"
#include "platform/module_files.h"

namespace {

using platform::SystemModuleFiles;

// The calls that the system offers as a library are a module without a file.
TEST(ModuleFilesOnLinux, FindNothingForTheSystemsOwnLibrary) {
    const unsigned long address = ::getauxval(AT_SYSINFO_EHDR);
    ASSERT_NE(address, 0U) << "the kernel was told to show none";

    EXPECT_FALSE(SystemModuleFiles().FileOf(reinterpret_cast<const void*>(address)).has_value());
}

TEST(ModuleFilesOnLinux, FindALibraryThatWasLoadedByARelativeNameFromAnotherFolder) {
    void* const original = ::dlopen("libm.so.6", RTLD_NOW);
    ASSERT_NE(original, nullptr);
    const auto file = SystemModuleFiles().FileOf(::dlsym(original, "signgam"));
    ASSERT_TRUE(file.has_value());
    const std::filesystem::path before = std::filesystem::current_path();
    const std::filesystem::path folder =
        canonical(std::filesystem::temp_directory_path()) / contract::FreshName("-modules");
    create_directories(folder / "inner");
    copy_file(*file, folder / "inner" / "copy.so");

    current_path(folder);
    void* const copy = ::dlopen("./inner/copy.so", RTLD_NOW);
    current_path(before);
    ASSERT_NE(copy, nullptr) << ::dlerror();
    const auto found = SystemModuleFiles().FileOf(::dlsym(copy, "signgam"));

    EXPECT_EQ(found, (folder / "inner" / "copy.so").string());
    ::dlclose(copy);
    ::dlclose(original);
    remove_all(folder);
}

}  // namespace
