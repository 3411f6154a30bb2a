#pragma once

#include <cstdint>

namespace scenes {

// Scenes from this seed up are for testing what was trained; training keeps below.
inline constexpr std::uint64_t kFirstHeldOutSeed = std::uint64_t{1} << 32;

}  // namespace scenes
