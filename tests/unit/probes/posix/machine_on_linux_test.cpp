// What Linux answers, by its own files and calls.

#include <gmock/gmock.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <fstream>
#include <set>
#include <string>
#include <thread>

#include "platform/machine.h"
#include "probes/kernel_product.h"
#include "probes/logical_processors.h"
#include "probes/os_version.h"
#include "probes/processor_brand.h"
#include "probes/processor_cores.h"
#include "processors_beyond_masks.h"

namespace probes {
namespace {

using platform::ThisMachine;

TEST(MachineOnLinux, IsNoReleaseOfWindows) {
    std::uint32_t major = 77;
    std::uint32_t minor = 77;
    std::uint32_t build = 77;
    EXPECT_EQ(GetOsVersionClass(major, minor, build), 0);
    EXPECT_EQ(major, 77u);
    EXPECT_EQ(minor, 77u);
    EXPECT_EQ(build, 77u);
    EXPECT_EQ(GetCachedOsVersionClass(), 0);
    EXPECT_EQ(ReadKernelProductMajor(), 0u);
    platform::VersionRecord record;
    EXPECT_FALSE(ReadRtlVersion(record));
    EXPECT_NE(ThisMachine().versionSources.RtlVersion(record), 0);
}

TEST(MachineOnLinux, HasNoVersionBlocks) {
    platform::VersionBlocks& blocks = ThisMachine().versionBlocks;
    wchar_t folder[260] = {};
    std::byte block[8] = {};
    platform::ProductVersion version;
    EXPECT_EQ(blocks.SystemFolder(folder), 0u);
    EXPECT_EQ(blocks.BlockBytes(L"/bin/sh"), 0u);
    EXPECT_FALSE(blocks.ReadBlock(L"/bin/sh", block));
    EXPECT_FALSE(blocks.FindProductVersion(block, version));
}

#ifdef __x86_64__
// The kernel asks the same instruction and drops blanks in front.
TEST(MachineOnLinux, HasTheBrandThatTheKernelShows) {
    std::ifstream file("/proc/cpuinfo");
    std::string line;
    while (std::getline(file, line) && !line.starts_with("model name")) {
    }
    std::string brand = ReadProcessorBrand();
    brand.erase(0, brand.find_first_not_of(' '));
    brand.erase(brand.find_last_not_of(' ') + 1);
    EXPECT_THAT(line, testing::EndsWith(": " + brand));
}
#else
TEST(MachineOnLinux, HasNoBrandOnAnotherArchitecture) {
    EXPECT_EQ(ReadProcessorBrand(), "");
    EXPECT_FALSE(platform::ProcessorCpuid().Ask(0));
}
#endif

TEST(MachineOnLinux, ListsEachOfItsProcessorsInOneCore) {
    std::uint32_t physicalCores = 0;
    std::uint32_t logicalPerCore = 0;
    ASSERT_EQ(CountProcessorCores(physicalCores, logicalPerCore), kCoresCounted);
    const auto processors = static_cast<std::uint32_t>(::sysconf(_SC_NPROCESSORS_ONLN));
    EXPECT_LE(physicalCores * logicalPerCore, processors);
    EXPECT_GT(physicalCores * (logicalPerCore + 1), processors);
}

TEST(MachineOnLinux, KeepsNoKeysButTheProcessors) {
    platform::RegistryKeys& registry = ThisMachine().registry;
    EXPECT_EQ(registry.OpenMachineKey(L"SOFTWARE", 131097), nullptr);
    const auto key = registry.OpenMachineKey(L"HARDWARE\\DESCRIPTION\\System\\CentralProcessor\\0", 131097);
    ASSERT_NE(key, nullptr);
    std::uint32_t number = 77;
    EXPECT_FALSE(key->ReadNumber(L"ProcessorNameString", number));
    EXPECT_EQ(number, 77u);
}

// Each thread has an affinity of its own here.
TEST(MachineOnLinux, ConfinesTheCallingThreadOnly) {
    platform::ProcessorAffinity& affinity = ThisMachine().affinity;
    if (HasProcessorsBeyondMasks()) return;  // the affinity's own tests look at that
    platform::ProcessorMasks before;
    ASSERT_TRUE(affinity.ReadMasks(before));
    std::thread([&] { EXPECT_TRUE(affinity.Confine(before.process & (~before.process + 1))); }).join();
    platform::ProcessorMasks after;
    ASSERT_TRUE(affinity.ReadMasks(after));
    EXPECT_EQ(after.process, before.process);
}

#ifdef __x86_64__
// Linux can make the instruction raise a signal for one thread, if the processor can; then it is not run.
TEST(MachineOnLinux, DoesNotAskTheProcessorWhereThatIsForbidden) {
    constexpr int kSetCpuid = 0x1012;
    constexpr unsigned long kForbid = 0;
    constexpr unsigned long kAllow = 1;
    bool forbidden = false;
    bool asked = false;
    std::thread([&] {
        platform::Cpuid& cpuid = platform::ProcessorCpuid();
        forbidden = ::syscall(SYS_arch_prctl, kSetCpuid, kForbid) == 0;
        asked = cpuid.Ask(0).has_value();
        ::syscall(SYS_arch_prctl, kSetCpuid, kAllow);
    }).join();
    EXPECT_NE(asked, forbidden);
    EXPECT_TRUE(platform::ProcessorCpuid().Ask(0).has_value());
}
#endif

}  // namespace
}  // namespace probes
