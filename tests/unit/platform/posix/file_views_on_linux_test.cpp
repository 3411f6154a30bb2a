#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "contract/temporary_folder.h"
#include "platform/file_views.h"

namespace {

using contract::TemporaryFolder;
using contract::WideOf;
using platform::FileViews;
using platform::SystemFileViews;

TEST(FileViewsOnLinux, ReachAFileWhateverBytesItsNameHas) {
    const TemporaryFolder folder;
    const std::filesystem::path path = folder.Write("stray\xFF\xC3-\xE6\x97\xA5", "content");
    FileViews& files = SystemFileViews();

    const std::wstring wide = files.WidePath(path.string()).value();

    EXPECT_TRUE(files.Exists(wide));
    EXPECT_NE(files.OpenStream(wide), nullptr);
    EXPECT_NE(files.Open(wide), nullptr);
}

// Such a name can't be written in bytes, and what it would become names another file.
TEST(FileViewsOnLinux, FindNothingUnderAWideNameThatIsNoText) {
    const TemporaryFolder folder;
    folder.Write("\xEF\xBF\xBD", "the file named by the char that replaces others");
    FileViews& files = SystemFileViews();
    const std::wstring wide = WideOf(folder.Path()) + L"/" + wchar_t{0xD800};

    EXPECT_FALSE(files.Exists(wide));
    EXPECT_EQ(files.OpenStream(wide), nullptr);
    EXPECT_EQ(files.Open(wide), nullptr);
    EXPECT_TRUE(files.Exists(WideOf(folder.Path()) + L"/" + wchar_t{0xFFFD}));
}

TEST(FileViewsOnLinux, DoNotWaitForAPipe) {
    const TemporaryFolder folder;
    const std::filesystem::path pipe = folder.Path() / "pipe";
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);

    EXPECT_TRUE(SystemFileViews().Exists(WideOf(pipe)));
    EXPECT_EQ(SystemFileViews().OpenStream(WideOf(pipe)), nullptr);
    EXPECT_EQ(SystemFileViews().Open(WideOf(pipe)), nullptr);
}

TEST(FileViewsOnLinux, OpenWhatALinkPointsAt) {
    const TemporaryFolder folder;
    folder.Write("file", "content");
    create_symlink("file", folder.Path() / "link");

    const auto view = SystemFileViews().Open(WideOf(folder.Path() / "link"));

    ASSERT_NE(view, nullptr);
    EXPECT_EQ(view->Size(), 7U);
}

TEST(FileViewsOnLinux, LeaveNothingMapped) {
    const TemporaryFolder folder;
    const std::wstring path = WideOf(folder.Write("file", "content"));
    const auto isMapped = [&] {
        return contract::ContentOf("/proc/self/maps").find((folder.Path() / "file").string()) != std::string::npos;
    };
    {
        const auto view = SystemFileViews().Open(path);
        ASSERT_TRUE(view->CreateMapping());
        EXPECT_FALSE(isMapped());
        ASSERT_NE(view->Map(), nullptr);
        EXPECT_TRUE(isMapped());
        ASSERT_NE(view->Map(), nullptr) << "a second view takes the place of the first";
    }
    EXPECT_FALSE(isMapped());
}

}  // namespace
