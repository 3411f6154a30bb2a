// What Windows answers, by its own calls.

#include <gmock/gmock.h>
#include <windows.h>

#include "platform/machine.h"
#include "probes/kernel_product.h"
#include "probes/os_version.h"

namespace probes {
namespace {

using platform::ThisMachine;

TEST(MachineOnWindows, IsAReleaseWithAClass) {
    std::uint32_t major = 0;
    std::uint32_t minor = 0;
    std::uint32_t build = 0;
    const std::int32_t versionClass = GetOsVersionClass(major, minor, build);
    EXPECT_GE(versionClass, 10);  // Windows 7, the oldest that this is built for
    EXPECT_GE(major, 6u);
    EXPECT_GT(build, 0u);
    EXPECT_EQ(GetCachedOsVersionClass(), versionClass);
}

TEST(MachineOnWindows, TellsItsVersionInBothRecords) {
    for (const std::uint32_t bytes : {platform::kVersionRecordBytes, platform::kShortVersionRecordBytes}) {
        platform::VersionRecord record;
        record.recordBytes = bytes;
        EXPECT_TRUE(ThisMachine().versionSources.ReportedVersion(record)) << bytes;
        EXPECT_EQ(record.platformId, 2u);
        EXPECT_GE(record.major, 6u);
    }
}

TEST(MachineOnWindows, RefusesARecordOfAnotherSize) {
    platform::VersionRecord record;
    record.recordBytes = 100;
    EXPECT_FALSE(ThisMachine().versionSources.ReportedVersion(record));
}

TEST(MachineOnWindows, TellsItsRealVersion) {
    platform::VersionRecord record;
    ASSERT_TRUE(ReadRtlVersion(record));
    EXPECT_GE(record.major, 6u);
    EXPECT_EQ(record.platformId, 2u);
}

TEST(MachineOnWindows, HasAProductVersionInItsKernel) {
    EXPECT_GE(ReadKernelProductMajor(), 5u);
}

TEST(MachineOnWindows, HasNoVersionBlockInAFileThatIsNotThere) {
    platform::VersionBlocks& blocks = ThisMachine().versionBlocks;
    std::byte block[64] = {};
    platform::ProductVersion version;
    EXPECT_EQ(blocks.BlockBytes(L"C:\\no such file"), 0u);
    EXPECT_FALSE(blocks.ReadBlock(L"C:\\no such file", block));
    EXPECT_FALSE(blocks.FindProductVersion(block, version));
}

TEST(MachineOnWindows, OpensKeysForReading) {
    static_assert(KEY_READ == 131097);
    platform::RegistryKeys& registry = ThisMachine().registry;
    EXPECT_EQ(registry.OpenMachineKey(L"HARDWARE\\NO SUCH KEY", KEY_READ), nullptr);
    const auto key = registry.OpenMachineKey(L"HARDWARE\\DESCRIPTION\\System\\CentralProcessor\\0", KEY_READ);
    ASSERT_NE(key, nullptr);
    std::uint32_t number = 77;
    EXPECT_FALSE(key->ReadNumber(L"no such value", number));
    EXPECT_EQ(number, 77u);
    EXPECT_TRUE(key->ReadNumber(L"~MHz", number));
    EXPECT_GT(number, 77u);
}

}  // namespace
}  // namespace probes
