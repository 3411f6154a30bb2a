#include "probes/logical_processors.h"

#include <bit>
#include <optional>

namespace probes {
namespace {

constexpr std::uint32_t kVendorLeaf = 0;
constexpr std::uint32_t kFeatureLeaf = 1;

// "GenuineIntel", as the registers hold it.
constexpr std::uint32_t kGenu = 0x756E6547;
constexpr std::uint32_t kIneI = 0x49656E69;
constexpr std::uint32_t kNtel = 0x6C65746E;

constexpr std::uint32_t kFamilyMask = 0x00000F00;
constexpr std::uint32_t kFamily15 = 0x00000F00;
constexpr std::uint32_t kExtendedFamilyMask = 0x00F00000;  // its lower half, which is what is tested
constexpr std::uint32_t kHyperThreadingBit = 1u << 28;

constexpr std::uint32_t kOneLogical = 1;
constexpr std::uint8_t kNoApicId = 255;

bool IsIntel(platform::Cpuid& cpuid) {
    const auto vendor = cpuid.Ask(kVendorLeaf);
    return vendor && vendor->ebx == kGenu && vendor->edx == kIneI && vendor->ecx == kNtel;
}

// The feature leaf's ebx; nothing without hyper-threading.
std::optional<std::uint32_t> PackageFacts(const platform::Machine& machine) {
    if (HasHyperThreading(machine) == 0) return std::nullopt;
    const auto features = machine.cpuid.Ask(kFeatureLeaf);
    return features ? std::optional(features->ebx) : std::nullopt;
}

}  // namespace

std::uint32_t HasHyperThreading(const platform::Machine& machine) {
    if (!IsIntel(machine.cpuid)) return 0;
    const auto features = machine.cpuid.Ask(kFeatureLeaf);
    if (!features) return 0;
    const bool isFamily15 = (features->eax & kFamilyMask) == kFamily15;
    if (!isFamily15 && (features->eax & kExtendedFamilyMask) == 0) return 0;
    return features->edx & kHyperThreadingBit;
}

std::uint32_t ReadLogicalPerPackage(const platform::Machine& machine) {
    const auto facts = PackageFacts(machine);
    return facts ? *facts >> 16 & 0xFF : kOneLogical;
}

std::uint8_t ReadInitialApicId(const platform::Machine& machine) {
    const auto facts = PackageFacts(machine);
    return facts ? static_cast<std::uint8_t>(*facts >> 24) : kNoApicId;
}

std::uint32_t CountMaskBits(std::uint64_t mask) {
    return static_cast<std::uint32_t>(std::popcount(mask));
}

}  // namespace probes
