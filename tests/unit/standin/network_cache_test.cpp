#include "standin/network_cache.h"

#include <gmock/gmock.h>

#include <chrono>
#include <stdexcept>

#include "standin_support/test_engine.h"

namespace standin_support {
namespace {

using standin::Bytes;
using standin::Digest;
using standin::NetworkCache;
using testing::IsEmpty;
using testing::SizeIs;

Digest Key(std::uint8_t number) {
    Digest key{};
    key[0] = number;
    return key;
}

TEST(NetworkCache, GivesWhatItWasGiven) {
    const TemporaryFolder folder;
    const NetworkCache cache(folder.Path());
    const Bytes network = {1, 2, 3};

    cache.Write(Key(1), network);

    EXPECT_EQ(cache.Read(Key(1)), network);
    EXPECT_EQ(NetworkCache(folder.Path()).Read(Key(1)), network);
    EXPECT_EQ(cache.Read(Key(2)), std::nullopt);
}

TEST(NetworkCache, ReplacesWhatItHas) {
    const TemporaryFolder folder;
    const NetworkCache cache(folder.Path());
    cache.Write(Key(1), {1, 2, 3});

    cache.Write(Key(1), {4});

    EXPECT_EQ(cache.Read(Key(1)), Bytes{4});
    EXPECT_THAT(folder.Files(), SizeIs(1));
}

TEST(NetworkCache, TakesNoFileForAnotherKey) {
    const TemporaryFolder folder;
    const NetworkCache cache(folder.Path());
    cache.Write(Key(1), {1, 2, 3});

    std::filesystem::rename(cache.FileOf(Key(1)), cache.FileOf(Key(2)));

    EXPECT_EQ(cache.Read(Key(2)), std::nullopt);
}

TEST(NetworkCache, LeavesNothingBehindWhenWritingFails) {
    const TemporaryFolder folder;
    const NetworkCache cache(folder.Path());
    std::filesystem::create_directories(cache.FileOf(Key(1)) / "in the way");

    EXPECT_THROW(cache.Write(Key(1), {1}), std::runtime_error);

    EXPECT_THAT(folder.Files(), SizeIs(1));
}

TEST(NetworkCache, FailsToWriteIntoAFolderThatWent) {
    const TemporaryFolder folder;
    const NetworkCache cache(folder.Path() / "short-lived");
    std::filesystem::remove(folder.Path() / "short-lived");

    EXPECT_THROW(cache.Write(Key(1), {1}), std::runtime_error);
}

TEST(NetworkCache, RemovesOldLeftoversAndNothingElse) {
    const TemporaryFolder folder;
    const NetworkCache cache(folder.Path());
    const std::filesystem::path old = cache.TemporaryFile();
    const std::filesystem::path young = cache.TemporaryFile();
    const std::filesystem::path foreign = folder.Path() / "a";
    for (const auto& file : {old, young, foreign})
        WriteText(file, "x");
    const auto now = std::filesystem::file_time_type::clock::now();
    std::filesystem::last_write_time(old, now - std::chrono::hours(25));
    std::filesystem::last_write_time(young, now - std::chrono::hours(23));
    std::filesystem::last_write_time(foreign, now - std::chrono::hours(25));

    const NetworkCache next(folder.Path());

    EXPECT_FALSE(std::filesystem::exists(old));
    EXPECT_TRUE(std::filesystem::exists(young));
    EXPECT_TRUE(std::filesystem::exists(foreign));
}

TEST(FileRemover, RemovesItsFileAndMindsNoneThatIsMissing) {
    const TemporaryFolder folder;
    const std::filesystem::path file = folder.Path() / "a";
    WriteText(file, "x");

    { const standin::FileRemover remover(file); }
    EXPECT_THAT(folder.Files(), IsEmpty());
    { const standin::FileRemover remover(file); }
}

}  // namespace
}  // namespace standin_support
