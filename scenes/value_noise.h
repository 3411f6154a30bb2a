#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "velmo_scenes/exact_math.h"

namespace scenes {

// One tile of smooth random values that repeats in both directions, for every texture. It's drawn once for the program,
// and looking a value up costs four loads.
class ValueNoise {
 public:
    // The program's tile. Thread: any.
    static const ValueNoise& Instance();

    // Several octaves, from about -1 to 1. A feature is about 1 in size, the finest an eighth of that; the tile repeats
    // after 32.
    float At(float x, float y) const { return Sample(m_rough, x * 8.0F, y * 8.0F); }

    // One octave only: soft, from -1 to 1, repeats after 32.
    float SoftAt(float x, float y) const { return Sample(m_soft, x * 8.0F, y * 8.0F); }

 private:
    static constexpr std::int32_t kSide = 256;
    using Tile = std::array<float, static_cast<std::size_t>(kSide) * kSide>;

    ValueNoise();

    static float Sample(const Tile& tile, float x, float y) {
        const std::int32_t column = FloorToInt(x);
        const std::int32_t row = FloorToInt(y);
        const float right = x - static_cast<float>(column);
        const float down = y - static_cast<float>(row);
        const auto left = static_cast<std::size_t>(column & (kSide - 1));
        const auto next = static_cast<std::size_t>((column + 1) & (kSide - 1));
        const std::size_t upper = static_cast<std::size_t>(row & (kSide - 1)) * kSide;
        const std::size_t lower = static_cast<std::size_t>((row + 1) & (kSide - 1)) * kSide;
        const float top = Mix(tile[upper + left], tile[upper + next], right);
        return Mix(top, Mix(tile[lower + left], tile[lower + next], right), down);
    }

    Tile m_rough;
    Tile m_soft;
};

}  // namespace scenes
