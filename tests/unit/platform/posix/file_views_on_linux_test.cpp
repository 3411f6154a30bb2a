#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
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

TEST(FileViewsOnLinux, MapNothing) {
    const TemporaryFolder folder;
    const auto view = SystemFileViews().Open(WideOf(folder.Write("file", "content")));
    ASSERT_TRUE(view->CreateMapping());
    ASSERT_NE(view->Map(), nullptr);

    EXPECT_EQ(contract::ContentOf("/proc/self/maps").find((folder.Path() / "file").string()), std::string::npos);
}

// Somebody who copies over a library cuts it short first.
TEST(FileViewsOnLinux, ShowAFileThatIsCutShortAfterwardsAsItWas) {
    const TemporaryFolder folder;
    const std::string content = "begin" + std::string(3 * 4096, 'x') + "end";
    const std::filesystem::path path = folder.Write("file", content);
    const auto view = SystemFileViews().Open(WideOf(path));
    ASSERT_TRUE(view->CreateMapping());
    const std::byte* const bytes = view->Map();
    ASSERT_NE(bytes, nullptr);

    resize_file(path, 0);

    EXPECT_EQ(std::string(reinterpret_cast<const char*>(bytes), content.size()), content);
    EXPECT_EQ(view->Map(), nullptr) << "a second look finds that it is shorter";
}

TEST(FileViewsOnLinux, ShowNoFileThatIsShorterThanItsSizeWasTold) {
    const TemporaryFolder folder;
    for (const bool isPrepared : {false, true}) {
        const std::filesystem::path path = folder.Write("file", std::string(2 * 4096, 'x'));
        const auto view = SystemFileViews().Open(WideOf(path));
        ASSERT_EQ(view->Size(), 2U * 4096);
        if (isPrepared) {
            ASSERT_TRUE(view->CreateMapping());
        }

        resize_file(path, 2 * 4096 - 1);

        EXPECT_TRUE(view->CreateMapping());
        EXPECT_EQ(view->Map(), nullptr);
        EXPECT_EQ(view->Size(), 2U * 4096);
    }
}

TEST(FileViewsOnLinux, ShowOfALongerFileWhatWasTold) {
    const TemporaryFolder folder;
    const std::filesystem::path path = folder.Write("file", "told");
    const auto view = SystemFileViews().Open(WideOf(path));
    ASSERT_EQ(view->Size(), 4U);

    folder.Write("file", "told and more");

    ASSERT_TRUE(view->CreateMapping());
    EXPECT_EQ(view->Size(), 4U);
    const std::byte* const bytes = view->Map();
    ASSERT_NE(bytes, nullptr);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(bytes), 4), "told");
}

TEST(FileViewsOnLinux, PrepareAGibibyteAndNoMore) {
    const TemporaryFolder folder;
    const std::filesystem::path path = folder.Write("file", "");
    constexpr std::uintmax_t kGibibyte = std::uintmax_t{1} << 30;
    for (const std::uintmax_t bytes : {kGibibyte, kGibibyte + 1}) {
        resize_file(path, bytes);  // a hole, which takes no room
        const auto view = SystemFileViews().Open(WideOf(path));
        EXPECT_EQ(view->Size(), bytes);
        EXPECT_EQ(view->CreateMapping(), bytes == kGibibyte);
    }
    EXPECT_EQ(SystemFileViews().Open(WideOf(path))->Map(), nullptr);
}

}  // namespace
