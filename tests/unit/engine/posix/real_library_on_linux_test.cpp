#include <gtest/gtest.h>

#include <filesystem>

#include "contract/temporary_folder.h"
#include "contract/test_libraries.h"
#include "counting_calls.h"

namespace {

using contract::CountingLibrary;
using contract::TemporaryFolder;
using contract::WideOf;
using hvq::util::load_shared_object;

TEST(RealLibraryOnLinux, MayHaveBytesThatAreNoTextInItsPath) {
    const TemporaryFolder folder;
    const std::filesystem::path path = folder.Path() / "stray\xFF.dll";
    copy_file(CountingLibrary(), path);

    EXPECT_EQ(Next(load_shared_object(path.string())), 1);
    EXPECT_EQ(Next(load_shared_object(WideOf(path))), 1);
}

TEST(RealLibraryOnLinux, IsLoadedThroughALink) {
    const TemporaryFolder folder;
    const std::filesystem::path link = folder.Path() / "hvq.dll";
    create_symlink(CountingLibrary(), link);
    ASSERT_TRUE(is_symlink(link));

    EXPECT_EQ(Next(load_shared_object(link.string())), 1);
    EXPECT_EQ(Next(load_shared_object(WideOf(link))), 1);
}

}  // namespace
