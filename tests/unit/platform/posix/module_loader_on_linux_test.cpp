#include <dlfcn.h>
#include <gmock/gmock.h>

#include <array>
#include <cerrno>
#include <string>

#include "contract/temporary_folder.h"
#include "contract/test_libraries.h"
#include "platform/module_loader.h"

namespace {

using contract::CurrentFolder;
using contract::TemporaryFolder;
using platform::ModuleLoader;
using platform::SystemModuleLoader;

constexpr std::uint32_t kFlags = platform::kSearchModuleFolderAndDefaults;

// The error that loading this path ends with; 0 when it is loaded.
std::uint32_t ErrorOfLoading(const std::string& path) {
    ModuleLoader& loader = SystemModuleLoader();
    loader.SetLastError(0);
    const platform::ModuleHandle module = loader.Load(path, kFlags);
    if (module == nullptr) return loader.LastError();
    loader.Unload(module);
    return 0;
}

// An empty name would be this program, and a bare one would be searched for along the system's paths.
TEST(ModuleLoaderOnLinux, TakesNothingButAbsolutePaths) {
    EXPECT_EQ(ErrorOfLoading(""), static_cast<std::uint32_t>(EINVAL));
    EXPECT_EQ(ErrorOfLoading("libm.so.6"), static_cast<std::uint32_t>(EINVAL));
    const CurrentFolder here(contract::CountingLibrary().parent_path());
    EXPECT_EQ(ErrorOfLoading("./counting_library.dll"), static_cast<std::uint32_t>(EINVAL));
    EXPECT_EQ(ErrorOfLoading(contract::CountingLibrary().string()), 0U);
}

TEST(ModuleLoaderOnLinux, TellsAMissingFileFromOneThatIsNoLibrary) {
    const TemporaryFolder folder;

    EXPECT_EQ(ErrorOfLoading((folder.Path() / "missing").string()), static_cast<std::uint32_t>(ENOENT));
    EXPECT_EQ(ErrorOfLoading(folder.Write("text", "a text file\n").string()), static_cast<std::uint32_t>(ENOEXEC));
    EXPECT_EQ(ErrorOfLoading(folder.Write("empty", "").string()), static_cast<std::uint32_t>(ENOEXEC));
}

TEST(ModuleLoaderOnLinux, RefusesALibraryThatWasCutOff) {
    const TemporaryFolder folder;
    const std::string whole = contract::ContentOf(contract::CountingLibrary());

    EXPECT_EQ(ErrorOfLoading(folder.Write("cut", whole.substr(0, whole.size() / 4)).string()),
              static_cast<std::uint32_t>(ENOEXEC));
}

TEST(ModuleLoaderOnLinux, KeepsALibrarysNamesToItself) {
    ModuleLoader& loader = SystemModuleLoader();
    const platform::ModuleHandle module = loader.Load(contract::CountingLibrary().string(), kFlags);
    ASSERT_NE(module, nullptr);

    EXPECT_EQ(::dlsym(RTLD_DEFAULT, "counting_library_next"), nullptr);

    loader.Unload(module);
}

TEST(ModuleLoaderOnLinux, KeepsTheErrorWhenTheCurrentFolderCannotBeRead) {
    std::array<char, 1> tooSmall{};
    SystemModuleLoader().SetLastError(8);

    EXPECT_FALSE(SystemModuleLoader().CurrentDirectory(tooSmall.data(), 1));
    EXPECT_FALSE(SystemModuleLoader().CurrentDirectory(tooSmall.data(), 0));

    EXPECT_EQ(SystemModuleLoader().LastError(), 8U);
}

}  // namespace
