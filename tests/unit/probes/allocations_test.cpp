#include <gmock/gmock.h>

#include <new>

#include "probes/kernel_product.h"
#include "probes/os_version.h"
#include "probes/processor_cores.h"
#include "support/allocation_counter.h"
#include "support/fake_machine.h"

namespace probes {
namespace {

using support::FakeMachine;
using testing::ElementsAre;

constexpr std::uint32_t kTooMuch = 1u << 20;

TEST(FailingProbeAllocations, LetTheClassicWayCountTheCores) {
    FakeMachine machine;
    machine.SetCores(1);
    machine.processors.listAnswers = {{platform::kInsufficientBuffer, kTooMuch}};
    machine.processors.count = 5;
    std::uint32_t physicalCores = 0;
    std::uint32_t logicalPerCore = 0;

    std::int32_t code = -1;
    {
        const FailingAllocations failing(kTooMuch);
        code = CountProcessorCores(physicalCores, logicalPerCore, machine.Parts());
    }

    EXPECT_EQ(code, kCoresCounted);
    EXPECT_EQ(physicalCores, 5u);
    EXPECT_EQ(logicalPerCore, 1u);
    EXPECT_THAT(machine.log, ElementsAre("FindList", "ReadList 0", "ProcessorCount", "Cpuid 0"));
}

TEST(FailingProbeAllocations, LeaveTheReaderOfTheKernelsVersion) {
    FakeMachine machine;
    machine.releases.blockBytes = kTooMuch;
    machine.releases.reported = support::FakeVersion{2, 6, 1, 7601};
    std::uint32_t major = 77;
    std::uint32_t minor = 77;
    std::uint32_t build = 77;

    const FailingAllocations failing(kTooMuch);
    EXPECT_THROW((void)ReadKernelProductMajor(machine.Parts()), std::bad_alloc);
    EXPECT_THROW((void)GetOsVersionClass(major, minor, build, machine.Parts()), std::bad_alloc);
    EXPECT_EQ(major, 77u);
}

}  // namespace
}  // namespace probes
