#include "velmo_scenes/value_noise.h"

#include "velmo_scenes/random.h"

namespace scenes {
namespace {

// A corner's value in an octave whose corners stand `spacing` cells apart.
float Corner(std::uint64_t octave, std::int32_t column, std::int32_t row) {
    const std::uint64_t key =
        (octave << 32) | (static_cast<std::uint64_t>(row) << 16) | static_cast<std::uint64_t>(column);
    return static_cast<float>(Scramble(key + 0x51ED2701ULL) >> 40) * (2.0F / 16777216.0F) - 1.0F;
}

float Octave(std::uint64_t octave, std::int32_t x, std::int32_t y, std::int32_t side, std::int32_t spacing) {
    const std::int32_t corners = side / spacing;
    const std::int32_t column = x / spacing;
    const std::int32_t row = y / spacing;
    const float right = SmoothStep(0.0F, 1.0F, static_cast<float>(x % spacing) / static_cast<float>(spacing));
    const float down = SmoothStep(0.0F, 1.0F, static_cast<float>(y % spacing) / static_cast<float>(spacing));
    const std::int32_t nextColumn = (column + 1) % corners;
    const std::int32_t nextRow = (row + 1) % corners;
    const float top = Mix(Corner(octave, column, row), Corner(octave, nextColumn, row), right);
    return Mix(top, Mix(Corner(octave, column, nextRow), Corner(octave, nextColumn, nextRow), right), down);
}

}  // namespace

const ValueNoise& ValueNoise::Instance() {
    static const ValueNoise& noise = *new ValueNoise;  // never destroyed: it may be asked for at the program's end
    return noise;
}

ValueNoise::ValueNoise() {
    std::size_t cell = 0;
    for (std::int32_t y = 0; y < kSide; ++y) {
        for (std::int32_t x = 0; x < kSide; ++x, ++cell) {
            m_soft[cell] = Octave(7, x, y, kSide, 8);
            m_rough[cell] = 0.55F * Octave(1, x, y, kSide, 16) + 0.45F * Octave(2, x, y, kSide, 8) +
                            0.30F * Octave(3, x, y, kSide, 4) + 0.20F * Octave(4, x, y, kSide, 2) +
                            0.12F * Octave(5, x, y, kSide, 1);
        }
    }
}

}  // namespace scenes
