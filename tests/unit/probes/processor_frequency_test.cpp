#include "probes/processor_frequency.h"

#include <gmock/gmock.h>

#include <optional>

#include "support/fake_machine.h"

namespace probes {
namespace {

using support::FakeMachine;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::Not;
using testing::StartsWith;

constexpr std::uint32_t kVeryFast = 0xFFFFFFFF;

std::uint32_t MhzOf(const std::string& brand, std::uint32_t systemMhz) {
    FakeMachine machine;
    machine.processors.SetBrand(brand);
    machine.SetMhz(systemMhz);
    return ReadProcessorMhz(machine.Parts());
}

// What the brand says, shown by a system that says more; nothing when the system's own number comes out.
std::optional<std::uint32_t> BrandMhz(const std::string& brand) {
    const std::uint32_t mhz = MhzOf(brand, kVeryFast);
    return mhz == kVeryFast ? std::nullopt : std::optional(mhz);
}

TEST(ProcessorMhz, IsTheSmallerOfTheBrandsAndTheSystems) {
    EXPECT_EQ(MhzOf("Intel(R) CPU @ 2.40GHz", 3000), 2400u);
    EXPECT_EQ(MhzOf("Intel(R) CPU @ 2.40GHz", 2401), 2400u);
    EXPECT_EQ(MhzOf("Intel(R) CPU @ 2.40GHz", 2399), 2399u);
    EXPECT_EQ(MhzOf("Intel(R) CPU @ 2.40GHz", 1800), 1800u);
}

TEST(ProcessorMhz, IsTheSystemsWhenTheBrandTellsNone) {
    EXPECT_EQ(MhzOf("Intel(R) N100", 2400), 2400u);
    EXPECT_EQ(MhzOf("Intel(R) CPU 2.40GHz", 2400), 2400u);
    EXPECT_EQ(MhzOf("Intel(R) CPU @ 2400", 2500), 2500u);
    EXPECT_EQ(MhzOf("Intel(R) CPU @ 2400MHz", 2500), 2500u);
    EXPECT_EQ(MhzOf("", 2400), 2400u);
}

TEST(ProcessorMhz, ReadsTheBrandAndThenTheKey) {
    FakeMachine machine;
    machine.processors.SetBrand("CPU @ 2.40GHz");
    machine.SetMhz(3000);

    EXPECT_EQ(ReadProcessorMhz(machine.Parts()), 2400u);
    EXPECT_THAT(machine.log,
                ElementsAre("Cpuid 80000000", "Cpuid 80000000", "Cpuid 80000001", "Cpuid 80000002", "Cpuid 80000003",
                            "Cpuid 80000004", "OpenKey HARDWARE\\DESCRIPTION\\System\\CentralProcessor\\0 131097",
                            "ReadNumber ~MHz 0", "CloseKey"));
}

TEST(ProcessorMhz, IsZeroWithoutTheKey) {
    FakeMachine machine;
    machine.processors.SetBrand("CPU @ 2.40GHz");

    EXPECT_EQ(ReadProcessorMhz(machine.Parts()), 0u);
    EXPECT_THAT(machine.log, AllOf(Contains(StartsWith("OpenKey")), Not(Contains(StartsWith("ReadNumber")))));
}

TEST(ProcessorMhz, IsZeroWhenTheValueCannotBeRead) {
    FakeMachine machine;
    machine.registry.Put(FakeMachine::kProcessorKey, {});
    EXPECT_EQ(ReadProcessorMhz(machine.Parts()), 0u);

    machine.processors.SetBrand("CPU @ 2.40GHz");
    EXPECT_EQ(ReadProcessorMhz(machine.Parts()), 0u);
    EXPECT_EQ(machine.log.back(), "CloseKey");
}

TEST(BrandMhz, StandsBetweenTheFirstAtAndTheFirstUnit) {
    EXPECT_EQ(BrandMhz("@ 2.40GHz"), 2400u);
    EXPECT_EQ(BrandMhz("@2.40GHz"), 2400u);
    EXPECT_EQ(BrandMhz("@ 2.40 GHz"), 2400u);
    EXPECT_EQ(BrandMhz("CPU @ 1.5 @ 2.5GHz 3.5GHz"), 1500u);
    EXPECT_EQ(BrandMhz("@ 24GHz0"), 24000u);  // what is behind the unit plays no part
}

TEST(BrandMhz, IsAllThatIsBehindTheAtWhenTheUnitStandsBefore) {
    EXPECT_EQ(BrandMhz("GHz: @ 2.40"), 2400u);
    EXPECT_EQ(BrandMhz("3.0GHz @ 1.5, 2.0GHz"), 1500u);
    EXPECT_EQ(BrandMhz("GHz@"), std::nullopt);
}

TEST(BrandMhz, IsNoneForWhatIsNoNumber) {
    EXPECT_EQ(BrandMhz("@GHz"), std::nullopt);
    EXPECT_EQ(BrandMhz("@ GHz"), std::nullopt);
    EXPECT_EQ(BrandMhz("@ fast GHz"), std::nullopt);
    EXPECT_EQ(BrandMhz("@ \xFF"
                       "2.4GHz"),
              std::nullopt);
    EXPECT_EQ(BrandMhz("@ 0.0GHz"), std::nullopt);
    EXPECT_EQ(BrandMhz("@ nanGHz"), std::nullopt);
}

TEST(BrandMhz, IsNoneForANumberOutOfRange) {
    EXPECT_EQ(BrandMhz("@ 1e39GHz"), std::nullopt);
    EXPECT_EQ(BrandMhz("@ 1e99999GHz"), std::nullopt);
}

TEST(BrandMhz, IsMultipliedInSinglePrecisionAndTruncated) {
    EXPECT_EQ(BrandMhz("@ 1.10GHz"), 1100u);
    EXPECT_EQ(BrandMhz("@ 1.90GHz"), 1900u);
    EXPECT_EQ(BrandMhz("@ 2.30GHz"), 2300u);
    EXPECT_EQ(BrandMhz("@ 2.67GHz"), 2670u);
    EXPECT_EQ(BrandMhz("@ 2.4005GHz"), 2400u);
    EXPECT_EQ(BrandMhz("@ 2.4009GHz"), 2400u);
    EXPECT_EQ(BrandMhz("@ 0.0005GHz"), std::nullopt);  // half a MHz is none
    EXPECT_EQ(BrandMhz("@ 16777.217GHz"), 16777216u);  // 2 to the 24th and one more
}

TEST(BrandMhz, TakesWhatIsBelowZeroOrTooLargeAsTheProcessorConvertsIt) {
    EXPECT_EQ(BrandMhz("@ -2GHz"), 4294965296u);     // -2000 in 32 bits
    EXPECT_EQ(BrandMhz("@ 4294968GHz"), 512u);       // 4294967808, of which the low half counts
    EXPECT_EQ(BrandMhz("@ 1e16GHz"), std::nullopt);  // beyond 64 bits
    EXPECT_EQ(BrandMhz("@ 1e38GHz"), std::nullopt);  // infinite, once it is multiplied
    EXPECT_EQ(BrandMhz("@ infGHz"), std::nullopt);
}

}  // namespace
}  // namespace probes
