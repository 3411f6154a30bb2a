#include "engine/file_exists.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <system_error>

#include "contract/temporary_folder.h"
#include "faked_system.h"

namespace {

using contract::TemporaryFolder;
using contract::WideOf;
using hvq::util::FileExists;
using hvq::util::PathExists;
using support::FileStep;

TEST(FileExists, FindsAFileByEitherKindOfPath) {
    FakedSystem system;
    system.files.Put(L"hvq.dll", "");

    EXPECT_TRUE(FileExists("hvq.dll", system.Seams()));
    EXPECT_TRUE(FileExists(L"hvq.dll", system.Seams()));
    EXPECT_FALSE(FileExists("hvq2.dll", system.Seams()));
    EXPECT_FALSE(FileExists(L"hvq2.dll", system.Seams()));
}

TEST(FileExists, ReadsNarrowPathsByTheFileSystemsCodePage) {
    FakedSystem system;
    system.files.Put(L"gr\u00F6\u00DFe.dll", "");

    EXPECT_TRUE(
        FileExists("gr\xC3\xB6\xC3\x9F"
                   "e.dll",
                   system.Seams()));
}

TEST(FileExists, IsFalseForAPathThatCannotBeConverted) {
    FakedSystem system;
    system.files.Put(L"hvq.dll", "");
    system.files.FailNext(FileStep::WidePath);

    EXPECT_FALSE(FileExists("hvq.dll", system.Seams()));
}

TEST(FileExists, IsFalseForAnyErrorOfTheSystem) {
    FakedSystem system;
    system.files.Put(L"hvq.dll", "");
    system.files.FailNext(FileStep::Exists);
    EXPECT_FALSE(FileExists("hvq.dll", system.Seams()));
    system.files.FailNext(FileStep::Exists);
    EXPECT_FALSE(FileExists(L"hvq.dll", system.Seams()));
}

TEST(FileExists, IsFalseForAnyExceptionOnTheWay) {
    FakedSystem system;
    system.files.Put(L"hvq.dll", "");
    system.files.ThrowNext(FileStep::WidePath);
    EXPECT_FALSE(FileExists("hvq.dll", system.Seams()));
    system.files.ThrowNext(FileStep::Exists);
    EXPECT_FALSE(FileExists("hvq.dll", system.Seams()));
    system.files.ThrowNext(FileStep::Exists);
    EXPECT_FALSE(FileExists(L"hvq.dll", system.Seams()));
}

TEST(FileExists, SaysNothing) {
    FakedSystem system;

    (void)FileExists("hvq.dll", system.Seams());

    EXPECT_EQ(system.streams.Error(), "");
    EXPECT_EQ(system.streams.Output(), "");
}

TEST(FileExists, FindsRealFilesFoldersAndNothingElse) {
    const TemporaryFolder folder;
    const std::filesystem::path file = folder.Write("file", "");

    EXPECT_TRUE(FileExists(file.string()));
    EXPECT_TRUE(FileExists(WideOf(file)));
    EXPECT_TRUE(FileExists(folder.Path().string()));
    EXPECT_FALSE(FileExists((folder.Path() / "other").string()));
    EXPECT_FALSE(FileExists((file / "below").string()));
    EXPECT_FALSE(FileExists(std::string(5000, 'x')));
    EXPECT_FALSE(FileExists(std::wstring(5000, L'x')));
    EXPECT_FALSE(FileExists(std::string()));
    EXPECT_FALSE(FileExists(std::wstring()));
}

TEST(FileExists, FindsARealFileWithAnyLettersInItsName) {
    const TemporaryFolder folder;
    const std::filesystem::path file = folder.Write(std::filesystem::path(u8"gr\u00F6\u00DFe \u65E5\u672C"), "");

    EXPECT_TRUE(FileExists(WideOf(file)));
}

TEST(PathExists, FindsFilesAndFoldersAndNothingElse) {
    FakedSystem system;
    system.files.Put(L"hvq.dll", "");
    system.files.PutFolder(L"models");

    EXPECT_TRUE(PathExists("hvq.dll", system.Seams()));
    EXPECT_TRUE(PathExists("models", system.Seams()));
    EXPECT_FALSE(PathExists("hvq2.dll", system.Seams()));
    EXPECT_FALSE(PathExists("", system.Seams()));
}

TEST(PathExists, ThrowsWhatKeepsTheSystemFromTelling) {
    FakedSystem system;
    system.files.Put(L"hvq.dll", "");
    system.files.FailNext(FileStep::Status);

    try {
        (void)PathExists("hvq.dll", system.Seams());
        ADD_FAILURE() << "nothing was thrown";
    } catch (const std::filesystem::filesystem_error& thrown) {
        EXPECT_THAT(thrown.what(), testing::HasSubstr("exists"));
        EXPECT_EQ(thrown.code(), std::errc::io_error);
        EXPECT_EQ(thrown.path1(), "hvq.dll");
    }
}

TEST(PathExists, FindsARealFileWithAnyLettersInItsName) {
    const TemporaryFolder folder;
    const std::filesystem::path file = folder.Write(std::filesystem::path(u8"gr\u00F6\u00DFe \u65E5\u672C"), "");

    EXPECT_TRUE(PathExists(file));
    EXPECT_TRUE(PathExists(folder.Path()));
    EXPECT_FALSE(PathExists(folder.Path() / "other"));
}

}  // namespace
