#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <system_error>

#include "contract/temporary_folder.h"
#include "engine/file_exists.h"

namespace {

using contract::TemporaryFolder;
using contract::WideOf;
using hvq::util::FileExists;
using hvq::util::PathExists;

TEST(FileExistsOnLinux, FollowsLinks) {
    const TemporaryFolder folder;
    folder.Write("file", "");
    create_symlink("file", folder.Path() / "link");
    create_symlink("nothing", folder.Path() / "dangling");
    create_symlink("ring", folder.Path() / "ring");
    for (const char* const name : {"link", "dangling", "ring"})
        ASSERT_TRUE(is_symlink(folder.Path() / name)) << name;

    EXPECT_TRUE(FileExists(WideOf(folder.Path() / "link")));
    EXPECT_FALSE(FileExists(WideOf(folder.Path() / "dangling")));
    EXPECT_FALSE(FileExists((folder.Path() / "dangling").string()));
    EXPECT_FALSE(FileExists(WideOf(folder.Path() / "ring")));
}

// What keeps the system itself from telling: a link to itself, and a name that no file can have.
TEST(PathExistsOnLinux, FollowsLinksAndThrowsForOneToItself) {
    const TemporaryFolder folder;
    folder.Write("file", "");
    create_symlink("file", folder.Path() / "link");
    create_symlink("nothing", folder.Path() / "dangling");
    create_symlink("ring", folder.Path() / "ring");

    EXPECT_TRUE(PathExists(folder.Path() / "link"));
    EXPECT_FALSE(PathExists(folder.Path() / "dangling"));
    try {
        (void)PathExists(folder.Path() / "ring");
        ADD_FAILURE() << "nothing was thrown";
    } catch (const std::filesystem::filesystem_error& thrown) {
        EXPECT_EQ(thrown.code(), std::errc::too_many_symbolic_link_levels);
    }
}

TEST(PathExistsOnLinux, ThrowsForANameThatIsTooLong) {
    const std::filesystem::path path(std::string(5000, 'x'));
    try {
        (void)PathExists(path);
        ADD_FAILURE() << "nothing was thrown";
    } catch (const std::filesystem::filesystem_error& thrown) {
        EXPECT_EQ(thrown.code(), std::errc::filename_too_long);
        EXPECT_EQ(thrown.path1(), path);
    }
}

}  // namespace
