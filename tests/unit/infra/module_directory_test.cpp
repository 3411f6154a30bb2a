#include "infra/module_directory.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <memory>
#include <string>

#include "support/fake_module_files.h"

namespace infra {
namespace {

const std::string kSeparator(g_pathSeparator);
const int g_here = 0;

std::string Path(const std::string& directory, const std::string& file) {
    return directory + kSeparator + file;
}

TEST(PathSeparator, IsOneCharOfThePlatform) {
    EXPECT_EQ(g_pathSeparator.size(), 1u);
    EXPECT_EQ(g_pathSeparator, platform::kPathSeparator);
}

TEST(ModuleDirectory, IsThePathUpToItsLastSeparator) {
    support::FakeModuleFiles files;
    files.Put(&g_here, Path(Path(kSeparator + "opt", "velmo"), "velmoml"));
    std::array<char, 1024> buffer{};

    EXPECT_EQ(GetModuleDirectory(&g_here, buffer.data(), buffer.size(), files), 0);

    EXPECT_EQ(std::string(buffer.data()), Path(kSeparator + "opt", "velmo"));
}

TEST(ModuleDirectory, IsEmptyForAFileUnderTheRoot) {
    support::FakeModuleFiles files;
    files.Put(&g_here, Path("", "velmoml"));
    std::array<char, 4> buffer = {'x', 'x', 'x', 'x'};

    EXPECT_EQ(GetModuleDirectory(&g_here, buffer.data(), buffer.size(), files), 0);

    EXPECT_STREQ(buffer.data(), "");
}

TEST(ModuleDirectory, FailsForANullAddress) {
    support::FakeModuleFiles files;
    files.Put(nullptr, Path("dir", "file"));
    std::array<char, 4> buffer = {'x'};

    EXPECT_EQ(GetModuleDirectory(nullptr, buffer.data(), buffer.size(), files), 1);

    EXPECT_EQ(buffer[0], 'x');
}

TEST(ModuleDirectory, FailsOutsideOfAnyModule) {
    support::FakeModuleFiles files;
    std::array<char, 4> buffer = {'x'};

    EXPECT_EQ(GetModuleDirectory(&g_here, buffer.data(), buffer.size(), files), 1);

    EXPECT_EQ(buffer[0], 'x');
}

TEST(ModuleDirectory, FailsForAPathWithoutSeparator) {
    support::FakeModuleFiles files;
    files.Put(&g_here, "velmoml");
    std::array<char, 64> buffer = {'x'};

    EXPECT_EQ(GetModuleDirectory(&g_here, buffer.data(), buffer.size(), files), 1);

    EXPECT_EQ(buffer[0], 'x');
}

TEST(ModuleDirectory, NeedsRoomForItsTerminator) {
    support::FakeModuleFiles files;
    files.Put(&g_here, Path("abc", "velmoml"));
    std::array<char, 4> exact = {'x', 'x', 'x', 'x'};
    std::array<char, 3> short1 = {'x', 'x', 'x'};

    EXPECT_EQ(GetModuleDirectory(&g_here, exact.data(), exact.size(), files), 0);
    EXPECT_STREQ(exact.data(), "abc");

    EXPECT_EQ(GetModuleDirectory(&g_here, short1.data(), short1.size(), files), 2);
    EXPECT_EQ(short1, (std::array<char, 3>{'x', 'x', 'x'}));

    EXPECT_EQ(GetModuleDirectory(&g_here, short1.data(), 0, files), 2);
}

TEST(ModuleDirectory, IsThatOfTheRunningProgramForItsOwnVariables) {
    std::array<char, 1024> buffer{};

    ASSERT_EQ(GetModuleDirectory(&g_here, buffer.data(), buffer.size()), 0);

    const std::string directory = buffer.data();
    ASSERT_FALSE(directory.empty());
    EXPECT_NE(directory.substr(directory.size() - 1), kSeparator);
    EXPECT_EQ(platform::SystemModuleFiles().FileOf(&g_here)->substr(0, directory.size() + 1), directory + kSeparator);
}

TEST(ModuleDirectory, FailsForAnAddressOnTheHeap) {
    const auto elsewhere = std::make_unique<int>(1);
    std::array<char, 1024> buffer{};

    EXPECT_EQ(GetModuleDirectory(elsewhere.get(), buffer.data(), buffer.size()), 1);
}

}  // namespace
}  // namespace infra
