#include "probes/strong_processor.h"

#include <gmock/gmock.h>

#include <stdexcept>
#include <string>

#include "support/fake_machine.h"

namespace probes {
namespace {

using support::FakeMachine;
using testing::ElementsAre;

bool IsStrong(const std::string& brand, std::uint32_t cores) {
    FakeMachine machine;
    machine.processors.SetBrand(brand);
    machine.SetCores(cores);
    return IsStrongProcessor(machine.Parts());
}

TEST(StrongProcessor, IsAnyWith8Cores) {
    EXPECT_TRUE(IsStrong("Intel(R) Core(TM) i5-12400", 8));
    EXPECT_TRUE(IsStrong("AMD Ryzen 7 5800X 8-Core Processor", 8));
    EXPECT_TRUE(IsStrong("Intel(R) Core(TM) Ultra 7 155H", 16));
    EXPECT_TRUE(IsStrong("VIA Nano", 8));
    EXPECT_TRUE(IsStrong("", 8));
}

TEST(StrongProcessor, IsNoneOfOtherMakersBelow8Cores) {
    EXPECT_FALSE(IsStrong("AMD Ryzen 5 3600 6-Core Processor", 6));
    EXPECT_FALSE(IsStrong("AMD Ryzen 7 5800X", 7));
    EXPECT_FALSE(IsStrong("", 7));
}

TEST(StrongProcessor, IsAnI7From4Cores) {
    EXPECT_TRUE(IsStrong("Intel(R) Core(TM) i7-8650U CPU @ 1.90GHz", 4));
    EXPECT_TRUE(IsStrong("Intel(R) Core(TM) i7-8700", 7));
    EXPECT_FALSE(IsStrong("Intel(R) Core(TM) i7-8650U CPU @ 1.90GHz", 3));
    EXPECT_FALSE(IsStrong("Intel(R) Core(TM) i7-7500U CPU @ 2.70GHz", 2));
    EXPECT_FALSE(IsStrong("Intel(R) Core(TM) i7-8650U CPU @ 1.90GHz", 0));
}

TEST(StrongProcessor, IsAnythingAboveI7) {
    EXPECT_TRUE(IsStrong("Intel(R) Core(TM) i9-9880H CPU @ 2.30GHz", 4));
    EXPECT_TRUE(IsStrong("Intel(R) Core(TM) i9-X", 4));  // here the model's number plays no part
    EXPECT_TRUE(IsStrong("Intel(R) Core(TM) m8-7Y30", 4));
}

TEST(StrongProcessor, IsNoCoreBelowI7) {
    EXPECT_FALSE(IsStrong("Intel(R) Core(TM) i5-12400", 6));
    EXPECT_FALSE(IsStrong("Intel(R) Core(TM) i3-8100", 4));
    EXPECT_FALSE(IsStrong("Intel(R) Core(TM) m3-7Y30 CPU @ 1.00GHz", 4));
    EXPECT_FALSE(IsStrong("Intel(R) Core(TM) M-5Y10", 4));
    EXPECT_FALSE(IsStrong("Intel(R) Core(TM) i6-8100", 7));
}

TEST(StrongProcessor, NeedsANumberInAnI7sModel) {
    EXPECT_TRUE(IsStrong("Intel(R) Core(TM) i7 CPU 920 @ 2.67GHz", 4));
    EXPECT_TRUE(IsStrong("Intel(R) Core(TM) i7-8", 4));
    EXPECT_FALSE(IsStrong("Intel(R) Core(TM) i7-7", 4));
    EXPECT_FALSE(IsStrong("Intel(R) Core(TM) i7-K875", 4));
}

TEST(StrongProcessor, IsNoCoreUltraBelow8Cores) {
    EXPECT_FALSE(IsStrong("Intel(R) Core(TM) Ultra 7 155H", 7));
    EXPECT_FALSE(IsStrong("Intel(R) Core(TM) Ultra 9 285K", 7));
}

TEST(StrongProcessor, TakesCore2ForACore) {
    EXPECT_FALSE(IsStrong("Intel(R) Core(TM)2 Quad CPU Q6600 @ 2.40GHz", 4));
    EXPECT_TRUE(IsStrong("Intel(R) Core(TM)2 i7-8", 4));
}

TEST(StrongProcessor, IsAXeonFrom4CoresAlsoWhenItsModelIsNotUnderstood) {
    EXPECT_TRUE(IsStrong("Intel(R) Xeon(R) CPU E5-2680 v4 @ 2.40GHz", 4));
    EXPECT_TRUE(IsStrong("Intel(R) Xeon(R) Gold 6248 CPU @ 2.50GHz", 4));
    EXPECT_FALSE(IsStrong("Intel(R) Xeon(R) Gold 6248 CPU @ 2.50GHz", 3));
}

TEST(StrongProcessor, IsNoOtherFamilyBelow8Cores) {
    EXPECT_FALSE(IsStrong("Intel(R) Celeron(R) i9-9000", 7));
    EXPECT_FALSE(IsStrong("Intel(R) Pentium(R) i9-9000", 7));
    EXPECT_FALSE(IsStrong("Intel(R) N100", 4));
    EXPECT_FALSE(IsStrong("Intel(R) Atom(TM) i9-9000", 7));
}

TEST(StrongProcessor, CountsTheMarkerOfARestrictedProcessAsCores) {
    FakeMachine machine;
    machine.processors.SetHyperThreading(2);
    machine.processors.count = 2;
    machine.processors.masks = platform::ProcessorMasks{1, 3};

    EXPECT_TRUE(IsStrongProcessor(machine.Parts()));  // 255 of them: the code beside it is not looked at
}

TEST(StrongProcessor, AsksForBrandCoresAndFrequencyInThisOrder) {
    FakeMachine machine;
    machine.processors.SetBrand("CPU", 0x80000002);
    machine.SetCores(1);

    EXPECT_FALSE(IsStrongProcessor(machine.Parts()));
    EXPECT_THAT(machine.log,
                ElementsAre("Cpuid 80000000", "Cpuid 80000000", "Cpuid 80000001", "Cpuid 80000002",  // brand
                            "FindList", "ReadList 0", "ReadList 32",                                 // cores
                            "Cpuid 80000000", "Cpuid 80000000", "Cpuid 80000001", "Cpuid 80000002",  // frequency
                            "OpenKey HARDWARE\\DESCRIPTION\\System\\CentralProcessor\\0 131097"));
}

TEST(StrongProcessor, LetsANumberOutOfRangeThroughWhateverTheCores) {
    for (const std::uint32_t cores : {2u, 4u, 8u}) {
        try {
            (void)IsStrong("Intel(R) Core(TM) i7-99999999999", cores);
            ADD_FAILURE() << "nothing was thrown";
        } catch (const std::out_of_range& error) {
            EXPECT_STREQ(error.what(), "stoi argument out of range");
        }
    }
}

}  // namespace
}  // namespace probes
