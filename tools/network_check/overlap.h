#pragma once

#include <cstdint>
#include <span>

namespace network_check {

inline constexpr std::uint8_t kForeground = 129;  // of a mask's byte, and above: as the process counts

// How well two masks of the same size agree: the pixels that are foreground in both, over those that are in either.
// 1 when neither has any.
double Overlap(std::span<const std::uint8_t> first, std::span<const std::uint8_t> second);

}  // namespace network_check
