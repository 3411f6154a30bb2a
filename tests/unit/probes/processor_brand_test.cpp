#include "probes/processor_brand.h"

#include <gmock/gmock.h>

#include "support/fake_machine.h"

namespace probes {
namespace {

using support::FakeMachine;
using testing::ElementsAre;

std::string BrandOf(const std::string& bytes, std::uint32_t highest = 0x80000004) {
    FakeMachine machine;
    machine.processors.SetBrand(bytes, highest);
    return ReadProcessorBrand(machine.Parts());
}

TEST(ProcessorBrand, EndsAtItsFirstNul) {
    EXPECT_EQ(BrandOf("AMD Ryzen 7 5800X 8-Core Processor"), "AMD Ryzen 7 5800X 8-Core Processor");
    EXPECT_EQ(BrandOf(std::string("Intel\0hidden", 12)), "Intel");
}

TEST(ProcessorBrand, MayFillAll48Bytes) {
    const std::string full = "0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKL";
    ASSERT_EQ(full.size(), 48u);
    EXPECT_EQ(BrandOf(full), full);
}

TEST(ProcessorBrand, KeepsItsBlanks) {
    EXPECT_EQ(BrandOf("      Intel(R)  CPU  "), "      Intel(R)  CPU  ");
}

TEST(ProcessorBrand, KeepsBytesAbove127) {
    EXPECT_EQ(BrandOf("\x80\xFF CPU \xC3\xA9"), "\x80\xFF CPU \xC3\xA9");
}

TEST(ProcessorBrand, AsksEachExtendedLeafUpToTheHighest) {
    FakeMachine machine;
    machine.processors.SetBrand("CPU", 0x80000006);
    machine.processors.leaves[0x80000005].eax = 0x41414141;  // "AAAA", no part of the brand

    EXPECT_EQ(ReadProcessorBrand(machine.Parts()), "CPU");
    EXPECT_THAT(machine.log, ElementsAre("Cpuid 80000000", "Cpuid 80000000", "Cpuid 80000001", "Cpuid 80000002",
                                         "Cpuid 80000003", "Cpuid 80000004", "Cpuid 80000005", "Cpuid 80000006"));
}

TEST(ProcessorBrand, HasOnlyThePartsThatThereAreLeavesFor) {
    const std::string full = "0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKL";
    EXPECT_EQ(BrandOf(full, 0x80000003), full.substr(0, 32));
    EXPECT_EQ(BrandOf(full, 0x80000002), full.substr(0, 16));
    EXPECT_EQ(BrandOf(full, 0x80000001), "");
    EXPECT_EQ(BrandOf(full, 0x80000000), "");
}

TEST(ProcessorBrand, IsEmptyWithoutExtendedLeaves) {
    FakeMachine machine;
    machine.processors.SetBrand("CPU", 0x7FFFFFFF);

    EXPECT_EQ(ReadProcessorBrand(machine.Parts()), "");
    EXPECT_THAT(machine.log, ElementsAre("Cpuid 80000000"));
}

TEST(ProcessorBrand, IsEmptyWhenTheProcessorCannotBeAsked) {
    FakeMachine machine;
    EXPECT_EQ(ReadProcessorBrand(machine.Parts()), "");
}

}  // namespace
}  // namespace probes
