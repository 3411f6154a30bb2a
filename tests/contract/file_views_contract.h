#pragma once

#include <gmock/gmock.h>

#include <filesystem>
#include <functional>
#include <iterator>
#include <memory>
#include <string>
#include <system_error>

#include "platform/file_views.h"

// What everybody may expect of FileViews, whoever stands behind it.
namespace contract {

struct FilesUnderTest {
    platform::FileViews* files;
    std::function<std::wstring(const std::string& name, const std::string& content)> put;  // gives the file's path
    std::function<std::wstring(const std::string& name)> putFolder;
    std::shared_ptr<void> owner;
};

using FilesFactory = std::function<FilesUnderTest()>;

class FileViewsContract : public testing::TestWithParam<FilesFactory> {
 protected:
    static std::string BytesOf(std::istream& stream) {
        return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    }

    platform::FileViews& Files() { return *m_test.files; }

    FilesUnderTest m_test = GetParam()();
    // All that a text stream would change or stop at.
    const std::string m_bytes = std::string("a\0b\r\n\n\x1A", 7) + "behind";
};

TEST_P(FileViewsContract, AFileAndAFolderExist) {
    EXPECT_TRUE(Files().Exists(m_test.put("file", "")));
    EXPECT_TRUE(Files().Exists(m_test.putFolder("folder")));
}

TEST_P(FileViewsContract, WhatIsNotThereDoesNotExist) {
    const std::wstring path = m_test.put("file", "");

    EXPECT_FALSE(Files().Exists(path + L"2"));
    EXPECT_FALSE(Files().Exists(L""));
}

TEST_P(FileViewsContract, TheStatusTellsFilesFoldersAndNothingApart) {
    using std::filesystem::file_type;
    const std::wstring file = m_test.put("file", "");
    std::error_code error;

    EXPECT_EQ(Files().Status(file, error).type(), file_type::regular);
    EXPECT_EQ(Files().Status(m_test.putFolder("folder"), error).type(), file_type::directory);
    EXPECT_EQ(Files().Status(file + L"2", error).type(), file_type::not_found);
    EXPECT_EQ(Files().Status(L"", error).type(), file_type::not_found);
}

TEST_P(FileViewsContract, PathsEndAtTheirFirstNul) {
    const std::wstring path = m_test.put("file", "x") + std::wstring(1, L'\0') + L"more";

    EXPECT_TRUE(Files().Exists(path));
    EXPECT_NE(Files().OpenStream(path), nullptr);
    EXPECT_NE(Files().Open(path), nullptr);
}

TEST_P(FileViewsContract, AStreamGivesTheBytesAsTheyAre) {
    const auto stream = Files().OpenStream(m_test.put("file", m_bytes));
    ASSERT_NE(stream, nullptr);

    EXPECT_EQ(BytesOf(*stream), m_bytes);
}

TEST_P(FileViewsContract, AStreamCanBeMeasuredAndReadFromAnywhere) {
    const auto stream = Files().OpenStream(m_test.put("file", m_bytes));
    ASSERT_NE(stream, nullptr);

    stream->seekg(0, std::ios::end);
    EXPECT_EQ(std::streamoff(stream->tellg()), static_cast<std::streamoff>(m_bytes.size()));
    stream->seekg(7, std::ios::beg);
    EXPECT_EQ(BytesOf(*stream), "behind");
}

TEST_P(FileViewsContract, OnlyFilesCanBeOpened) {
    const std::wstring folder = m_test.putFolder("folder");

    EXPECT_EQ(Files().OpenStream(folder), nullptr);
    EXPECT_EQ(Files().Open(folder), nullptr);
    EXPECT_EQ(Files().OpenStream(folder + L"2"), nullptr);
    EXPECT_EQ(Files().Open(folder + L"2"), nullptr);
    EXPECT_EQ(Files().OpenStream(L""), nullptr);
    EXPECT_EQ(Files().Open(L""), nullptr);
}

TEST_P(FileViewsContract, AViewShowsTheWholeFile) {
    const auto view = Files().Open(m_test.put("file", m_bytes));
    ASSERT_NE(view, nullptr);

    EXPECT_EQ(view->Size(), m_bytes.size());
    ASSERT_TRUE(view->CreateMapping());
    const std::byte* const bytes = view->Map();
    ASSERT_NE(bytes, nullptr);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(bytes), m_bytes.size()), m_bytes);
}

TEST_P(FileViewsContract, AnEmptyFileHasASizeAndNoMapping) {
    const auto view = Files().Open(m_test.put("file", ""));
    ASSERT_NE(view, nullptr);

    EXPECT_EQ(view->Size(), 0U);
    EXPECT_FALSE(view->CreateMapping());
    EXPECT_EQ(view->Map(), nullptr);
}

TEST_P(FileViewsContract, NothingIsSeenBeforeThereIsAMapping) {
    const auto view = Files().Open(m_test.put("file", m_bytes));
    ASSERT_NE(view, nullptr);

    EXPECT_EQ(view->Map(), nullptr);
}

TEST_P(FileViewsContract, AFileCanBeReadByTwoAtOnce) {
    const std::wstring path = m_test.put("file", m_bytes);

    const auto stream = Files().OpenStream(path);
    const auto first = Files().Open(path);
    const auto second = Files().Open(path);

    EXPECT_NE(stream, nullptr);
    EXPECT_NE(first, nullptr);
    EXPECT_NE(second, nullptr);
}

TEST_P(FileViewsContract, TheWidePathOfPlainLettersIsTheSameText) {
    EXPECT_EQ(Files().WidePath("some folder/file.txt"), L"some folder/file.txt");
    EXPECT_EQ(Files().WidePath(""), L"");
}

}  // namespace contract
