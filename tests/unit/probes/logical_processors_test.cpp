#include "probes/logical_processors.h"

#include <gmock/gmock.h>

#include "support/fake_machine.h"

namespace probes {
namespace {

using support::FakeMachine;
using testing::ElementsAre;

constexpr std::uint32_t kHyperThreading = 1u << 28;

FakeMachine& WithLeaf1(FakeMachine& machine, std::uint32_t eax, std::uint32_t edx) {
    machine.processors.SetVendor("GenuineIntel");
    machine.processors.leaves[1] = {eax, 0, 0, edx};
    return machine;
}

bool Has(std::uint32_t eax, std::uint32_t edx) {
    FakeMachine machine;
    return HasHyperThreading(WithLeaf1(machine, eax, edx).Parts()) != 0;
}

TEST(HyperThreading, IsToldByFamily15) {
    EXPECT_TRUE(Has(0x00000F00, kHyperThreading));
    EXPECT_TRUE(Has(0x00000F4A, 0xFFFFFFFF));
    EXPECT_FALSE(Has(0x00000E00, kHyperThreading));
    EXPECT_FALSE(Has(0x00000700, kHyperThreading));
}

TEST(HyperThreading, IsToldWithTheLowBitsOfAnExtendedFamily) {
    EXPECT_TRUE(Has(0x00100600, kHyperThreading));
    EXPECT_TRUE(Has(0x00800600, kHyperThreading));
    EXPECT_FALSE(Has(0x01000600, kHyperThreading));  // bit 24 is not looked at
    EXPECT_FALSE(Has(0x000F0600, kHyperThreading));  // the extended model neither
}

// This is the test as it stands: what can be bought today is of family 6.
TEST(HyperThreading, IsNotToldByLaterProcessorsOfFamily6) {
    EXPECT_FALSE(Has(0x000906EA, kHyperThreading));
    EXPECT_FALSE(Has(0x000B06A3, 0xFFFFFFFF));
}

TEST(HyperThreading, IsBit28) {
    FakeMachine machine;
    EXPECT_EQ(HasHyperThreading(WithLeaf1(machine, 0xF00, 0xFFFFFFFF).Parts()), kHyperThreading);
    EXPECT_FALSE(Has(0xF00, ~kHyperThreading));
}

TEST(HyperThreading, IsBelievedOfOneVendorOnly) {
    for (const char* const vendor : {"AuthenticAMD", "GenuineIntek", "genuineIntel", "GenuineIotel", "GenvineIntel"}) {
        FakeMachine machine;
        WithLeaf1(machine, 0xF00, kHyperThreading).processors.SetVendor(vendor);
        EXPECT_EQ(HasHyperThreading(machine.Parts()), 0u) << vendor;
        EXPECT_THAT(machine.log, ElementsAre("Cpuid 0"));
    }
}

TEST(HyperThreading, IsNotThereWhenTheInstructionFails) {
    FakeMachine machine;
    EXPECT_EQ(HasHyperThreading(machine.Parts()), 0u);

    machine.processors.SetVendor("GenuineIntel");
    EXPECT_EQ(HasHyperThreading(machine.Parts()), 0u);
}

TEST(LogicalPerPackage, IsTheThirdByte) {
    FakeMachine machine;
    machine.processors.SetHyperThreading(2);
    machine.processors.leaves[1].ebx = 0xA5C3F00F;

    EXPECT_EQ(ReadLogicalPerPackage(machine.Parts()), 0xC3u);
    EXPECT_EQ(ReadInitialApicId(machine.Parts()), 0xA5);
}

TEST(LogicalPerPackage, Is1WithoutHyperThreading) {
    FakeMachine machine;
    machine.processors.SetHyperThreading(2);
    machine.processors.leaves[1].edx = 0;

    EXPECT_EQ(ReadLogicalPerPackage(machine.Parts()), 1u);
}

TEST(InitialApicId, Is255WithoutHyperThreading) {
    FakeMachine machine;
    machine.processors.SetHyperThreading(2);
    machine.processors.leaves[1].edx = 0;

    EXPECT_EQ(ReadInitialApicId(machine.Parts()), 255);
}

TEST(MaskBits, AreCounted) {
    EXPECT_EQ(CountMaskBits(0), 0u);
    EXPECT_EQ(CountMaskBits(1), 1u);
    EXPECT_EQ(CountMaskBits(0x8000000000000000), 1u);
    EXPECT_EQ(CountMaskBits(0x8000000100000001), 3u);
    EXPECT_EQ(CountMaskBits(0x5555555555555555), 32u);
    EXPECT_EQ(CountMaskBits(0xFFFFFFFFFFFFFFFF), 64u);
}

}  // namespace
}  // namespace probes
