// What has to hold on every machine, with the system's own calls.

#include <gmock/gmock.h>

#include "platform/machine.h"
#include "platform/module_loader.h"
#include "probes/brand_parser.h"
#include "probes/installed_memory.h"
#include "probes/logical_processors.h"
#include "probes/native_word.h"
#include "probes/os_version.h"
#include "probes/processor_brand.h"
#include "probes/processor_cores.h"
#include "probes/processor_frequency.h"
#include "probes/strong_processor.h"

namespace probes {
namespace {

using platform::ThisMachine;

TEST(ThisMachine, IsAskedThroughItsOwnParts) {
    EXPECT_EQ(&ThisMachine().cpuid, &platform::ProcessorCpuid());
    EXPECT_EQ(&ThisMachine().memory, &platform::SystemInstalledMemory());
}

TEST(ThisMachine, HasABrandOfAtMost48BytesThatStays) {
    const std::string brand = ReadProcessorBrand();
    EXPECT_LE(brand.size(), 48u);
    EXPECT_EQ(brand, ReadProcessorBrand());
}

TEST(ThisMachine, HasAtLeastOneCore) {
    std::uint32_t physicalCores = 0;
    std::uint32_t logicalPerCore = 0;
    EXPECT_EQ(CountProcessorCores(physicalCores, logicalPerCore), kCoresCounted);
    EXPECT_GE(physicalCores, 1u);
    EXPECT_GE(logicalPerCore, 1u);
}

TEST(ThisMachine, AnswersAlikeWhenItIsAskedAgain) {
    EXPECT_EQ(IsStrongProcessor(), IsStrongProcessor());
    EXPECT_EQ(GetCachedOsVersionClass(), GetCachedOsVersionClass());
    EXPECT_EQ(HasHyperThreading(), HasHyperThreading());
    EXPECT_EQ(ReadLogicalPerPackage() == 1 || HasHyperThreading() != 0, true);
    EXPECT_EQ(ReadInitialApicId() == 255 || HasHyperThreading() != 0, true);
}

TEST(ThisMachine, IsNoFasterThanTheSystemSays) {
    const auto key =
        ThisMachine().registry.OpenMachineKey(L"HARDWARE\\DESCRIPTION\\System\\CentralProcessor\\0", 131097);
    ASSERT_NE(key, nullptr);
    std::uint32_t systemMhz = 0;
    (void)key->ReadNumber(L"~MHz", systemMhz);
    // What the system says may have moved on between two looks; half of it is a bound that says enough.
    EXPECT_LE(ReadProcessorMhz(), systemMhz + systemMhz / 2);
}

TEST(ThisMachine, HasMemoryInWholeGigabytes) {
    EXPECT_EQ(ReadInstalledMemoryMb() % 1024, 0u);
    EXPECT_GT(ThisMachine().memory.TotalBytes(), 0u);
}

TEST(ThisMachine, HasTheWordOfItsArchitecture) {
    const std::uint16_t architecture = platform::SystemModuleLoader().NativeArchitecture();
    EXPECT_EQ(ThisMachine().versionSources.NativeArchitecture(), architecture);
    EXPECT_EQ(IsNative64Bit(), architecture == 6 || architecture == 9 || architecture == 12);
}

}  // namespace
}  // namespace probes
