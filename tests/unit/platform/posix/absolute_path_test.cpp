#include "platform/posix/absolute_path.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <filesystem>
#include <string>

#include "contract/temporary_folder.h"
#include "platform/posix/last_error.h"

namespace {

using contract::CurrentFolder;
using contract::TemporaryFolder;
using platform::posix::AbsolutePath;

TEST(AbsolutePathOnLinux, StartsFromTheCurrentFolder) {
    const TemporaryFolder folder;
    const CurrentFolder here(folder.Path());
    const std::string base = folder.Path().string();

    EXPECT_EQ(AbsolutePath("hvq.dll"), base + "/hvq.dll");
    EXPECT_EQ(AbsolutePath("./hvq.dll"), base + "/hvq.dll");
    EXPECT_EQ(AbsolutePath("inner//hvq.dll"), base + "/inner/hvq.dll");
    EXPECT_EQ(AbsolutePath("../hvq.dll"), folder.Path().parent_path().string() + "/hvq.dll");
    EXPECT_EQ(AbsolutePath("."), base);
}

TEST(AbsolutePathOnLinux, FoldsDotsAndRepeatedSeparators) {
    EXPECT_EQ(AbsolutePath("/a/b/hvq.dll"), "/a/b/hvq.dll");
    EXPECT_EQ(AbsolutePath("//a/.//./b/hvq.dll"), "/a/b/hvq.dll");
    EXPECT_EQ(AbsolutePath("/a/../b/./../c"), "/c");
    EXPECT_EQ(AbsolutePath("/a/..."), "/a/...");
    EXPECT_EQ(AbsolutePath("/a/.b/..c"), "/a/.b/..c");
}

TEST(AbsolutePathOnLinux, GoesNoHigherThanTheRoot) {
    EXPECT_EQ(AbsolutePath("/"), "/");
    EXPECT_EQ(AbsolutePath("///"), "/");
    EXPECT_EQ(AbsolutePath("/.."), "/");
    EXPECT_EQ(AbsolutePath("/../../a"), "/a");
    EXPECT_EQ(AbsolutePath("/a/.."), "/");
}

TEST(AbsolutePathOnLinux, KeepsASeparatorAtTheEnd) {
    EXPECT_EQ(AbsolutePath("/a/hvq.dll/"), "/a/hvq.dll/");
    EXPECT_EQ(AbsolutePath("/a/hvq.dll//"), "/a/hvq.dll/");
}

TEST(AbsolutePathOnLinux, EndsAtTheFirstNul) {
    EXPECT_EQ(AbsolutePath(std::string("/a\0/b", 5)), "/a");
}

TEST(AbsolutePathOnLinux, OfNothingIsNone) {
    platform::posix::SetLastError(0);

    EXPECT_EQ(AbsolutePath(""), "");

    EXPECT_EQ(platform::posix::LastError(), static_cast<std::uint32_t>(ENOENT));
}

// Two dots behind a link lead to the parent of what it points at, so folding them would name another file.
TEST(AbsolutePathOnLinux, LeavesLinksAndWhatStandsBehindThem) {
    const TemporaryFolder folder;
    create_directories(folder.Path() / "far" / "inner");
    create_directory(folder.Path() / "near");
    create_symlink(folder.Path() / "far" / "inner", folder.Path() / "near" / "link");
    folder.Write("far/hvq.dll", "");
    const std::string near = (folder.Path() / "near").string();

    EXPECT_EQ(AbsolutePath(near + "/link/hvq.dll"), near + "/link/hvq.dll");
    const std::string kept = AbsolutePath(near + "/link/.././hvq.dll");
    EXPECT_EQ(kept, near + "/link/../hvq.dll");
    EXPECT_TRUE(std::filesystem::exists(kept));
    EXPECT_EQ(AbsolutePath(near + "/link/../../x"), near + "/link/../../x");
    EXPECT_EQ(AbsolutePath(near + "/link/../inner/../x"), near + "/link/../x");
}

TEST(AbsolutePathOnLinux, NeedsACurrentFolderForARelativePathOnly) {
    const TemporaryFolder folder;
    const CurrentFolder here(folder.Path());
    std::filesystem::remove(folder.Path());
    platform::posix::SetLastError(0);

    EXPECT_EQ(AbsolutePath("/a/hvq.dll"), "/a/hvq.dll");
    EXPECT_EQ(AbsolutePath("hvq.dll"), "");

    EXPECT_EQ(platform::posix::LastError(), static_cast<std::uint32_t>(ENOENT));
}

}  // namespace
