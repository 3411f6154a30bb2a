#include "probes/processor_brand.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

namespace probes {
namespace {

constexpr std::uint32_t kFirstExtendedLeaf = 0x80000000;
constexpr std::uint32_t kFirstBrandLeaf = 0x80000002;
constexpr std::uint32_t kLastBrandLeaf = 0x80000004;
constexpr std::size_t kBrandBytesPerLeaf = 16;

using BrandArea = std::array<char, 260>;

void PutRegister(std::uint32_t value, BrandArea& area, std::size_t at) {
    for (std::size_t i = 0; i < sizeof(value); ++i)
        area[at + i] = static_cast<char>(static_cast<std::uint8_t>(value >> (8 * i)));  // the lowest byte comes first
}

void PutLeaf(const platform::CpuidRegisters& registers, BrandArea& area, std::size_t at) {
    PutRegister(registers.eax, area, at);
    PutRegister(registers.ebx, area, at + 4);
    PutRegister(registers.ecx, area, at + 8);
    PutRegister(registers.edx, area, at + 12);
}

}  // namespace

std::string ReadProcessorBrand(const platform::Machine& machine) {
    BrandArea area{};
    const auto first = machine.cpuid.Ask(kFirstExtendedLeaf);
    if (!first || first->eax < kFirstExtendedLeaf) return {};
    // Counted in 64 bits: the highest leaf may be the highest number that there is in 32.
    const std::uint64_t highest = first->eax;
    for (std::uint64_t next = kFirstExtendedLeaf; next <= highest; ++next) {
        const auto leaf = static_cast<std::uint32_t>(next);
        const auto registers = machine.cpuid.Ask(leaf);
        if (!registers || leaf < kFirstBrandLeaf || leaf > kLastBrandLeaf) continue;
        PutLeaf(*registers, area, (leaf - kFirstBrandLeaf) * kBrandBytesPerLeaf);
    }
    return std::string(area.begin(), std::find(area.begin(), area.end(), '\0'));
}

}  // namespace probes
