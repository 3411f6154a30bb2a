#include "network_check_tool/overlap.h"

#include <algorithm>
#include <cstddef>

namespace network_check {

double Overlap(std::span<const std::uint8_t> first, std::span<const std::uint8_t> second) {
    std::size_t both = 0;
    std::size_t either = 0;
    for (std::size_t i = 0; i < std::min(first.size(), second.size()); ++i) {
        const bool inFirst = first[i] >= kForeground;
        const bool inSecond = second[i] >= kForeground;
        both += inFirst && inSecond ? 1U : 0U;
        either += inFirst || inSecond ? 1U : 0U;
    }
    return either == 0 ? 1.0 : static_cast<double>(both) / static_cast<double>(either);
}

}  // namespace network_check
