#include "probes/processor_frequency.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

#include "probes/number_parsing.h"
#include "probes/processor_brand.h"

namespace probes {
namespace {

constexpr wchar_t kProcessorKey[] = L"HARDWARE\\DESCRIPTION\\System\\CentralProcessor\\0";
constexpr wchar_t kFrequencyName[] = L"~MHz";
constexpr std::uint32_t kReadAccess = 131097;  // the registry's bits for reading

// What stands between the first "@" and the first "GHz". When they come the other way round, all that is behind the
// "@": the length, which has no sign, is then beyond every end.
std::string_view FrequencyText(std::string_view brand) {
    const std::size_t at = brand.find('@');
    const std::size_t unit = brand.find("GHz");
    if (at == std::string_view::npos || unit == std::string_view::npos) return {};
    return brand.substr(at + 1, unit - (at + 1));
}

float NumberOrZero(std::string_view text) {
    try {
        return ParseFloat(text);
    } catch (const std::invalid_argument&) {
        return 0;
    } catch (const std::out_of_range&) {
        return 0;
    }
}

// Truncated to 64 bits, of which the lower half counts, as the processor converts it. What 64 bits can't hold, and what
// is no number, is 0.
std::uint32_t Truncated(float number) {
    constexpr float kLimit = 9223372036854775808.0f;  // 2 to the 63rd
    if (!(std::fabs(number) < kLimit)) return 0;
    return static_cast<std::uint32_t>(static_cast<std::int64_t>(number));
}

std::uint32_t BrandMhz(std::string_view brand) {
    const float mhz = NumberOrZero(FrequencyText(brand)) * 1000.0f;  // in single precision, so 2.40 makes 2400
    return Truncated(mhz);
}

}  // namespace

std::uint32_t ReadProcessorMhz(const platform::Machine& machine) {
    const std::uint32_t brandMhz = BrandMhz(ReadProcessorBrand(machine));
    const std::unique_ptr<platform::RegistryKey> key = machine.registry.OpenMachineKey(kProcessorKey, kReadAccess);
    if (!key) return 0;
    std::uint32_t systemMhz = 0;
    (void)key->ReadNumber(kFrequencyName, systemMhz);  // a failed read leaves 0, which is then the smaller number
    return brandMhz == 0 ? systemMhz : std::min(brandMhz, systemMhz);
}

}  // namespace probes
