#include <gmock/gmock.h>
#include <windows.h>

#include <string>

#include "contract/temporary_folder.h"
#include "platform/file_views.h"
#include "platform/win32/unique_handle.h"

namespace {

using contract::TemporaryFolder;
using contract::WideOf;
using platform::SystemFileViews;
using platform::win32::UniqueHandle;

UniqueHandle OpenToWrite(const std::wstring& path) {
    constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    return UniqueHandle(
        ::CreateFileW(path.c_str(), GENERIC_WRITE, kShareAll, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
}

TEST(FileViewsOnWindows, KeepWritersOutAsLongAsTheyAreOpen) {
    const TemporaryFolder folder;
    const std::wstring path = WideOf(folder.Write("file", "content"));
    {
        const auto view = SystemFileViews().Open(path);
        ASSERT_NE(view, nullptr);
        EXPECT_FALSE(OpenToWrite(path));
    }
    EXPECT_TRUE(OpenToWrite(path));
}

TEST(FileViewsOnWindows, AreRefusedWhileSomebodyWritesAndStreamsAreNot) {
    const TemporaryFolder folder;
    const std::wstring path = WideOf(folder.Write("file", "content"));
    const UniqueHandle writer = OpenToWrite(path);
    ASSERT_TRUE(writer);

    EXPECT_EQ(SystemFileViews().Open(path), nullptr);
    EXPECT_NE(SystemFileViews().OpenStream(path), nullptr);
}

TEST(FileViewsOnWindows, ReadNarrowPathsByTheFileSystemsCodePage) {
    for (const char byte : {'a', '\x80', '\xE4', '\xF6', '\xFF'}) {
        const std::string narrow(1, byte);
        wchar_t wide[8] = {};
        const int count = ::MultiByteToWideChar(CP_ACP, MB_ERR_INVALID_CHARS, narrow.c_str(), -1, wide, 8);

        const auto path = SystemFileViews().WidePath(narrow);

        EXPECT_EQ(path.has_value(), count > 0) << static_cast<int>(byte);
        if (path && count > 0) EXPECT_EQ(*path, wide);
    }
}

TEST(FileViewsOnWindows, FollowTheChoiceOfTheOtherCodePage) {
    wchar_t expected[8] = {};
    ::MultiByteToWideChar(CP_OEMCP, 0, "\x84", -1, expected, 8);
    ::SetFileApisToOEM();

    const auto path = SystemFileViews().WidePath("\x84");

    ::SetFileApisToANSI();
    if (path) EXPECT_EQ(*path, expected);
    EXPECT_EQ(path.has_value(), ::MultiByteToWideChar(CP_OEMCP, MB_ERR_INVALID_CHARS, "\x84", -1, nullptr, 0) > 0);
}

}  // namespace
