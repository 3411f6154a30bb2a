#include "velmo_scenes/compression.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "velmo_scenes/exact_math.h"

namespace scenes {
namespace {

constexpr int kBlock = 8;
using Block = std::array<float, 64>;

// Row u is the u-th wave over eight pixels, of length 1.
constexpr float kA = 0.35355339F;
constexpr float kB = 0.49039264F;
constexpr float kC = 0.41573481F;
constexpr float kD = 0.27778512F;
constexpr float kE = 0.09754516F;
constexpr float kF = 0.46193977F;
constexpr float kG = 0.19134172F;
constexpr Block kWaves{kA, kA,  kA,  kA,  kA,  kA,  kA,  kA, kB, kC,  kD,  kE,  -kE, -kD, -kC, -kB,
                       kF, kG,  -kG, -kF, -kF, -kG, kG,  kF, kC, -kE, -kB, -kD, kD,  kB,  kE,  -kC,
                       kA, -kA, -kA, kA,  kA,  -kA, -kA, kA, kD, -kB, kE,  kC,  -kC, -kE, kB,  -kD,
                       kG, -kF, kF,  -kG, -kG, kF,  -kF, kG, kE, -kD, kC,  -kB, kB,  -kC, kD,  -kE};

constexpr Block Turned(const Block& block) {
    Block turned{};
    for (std::size_t row = 0; row < 8; ++row) {
        for (std::size_t column = 0; column < 8; ++column)
            turned[column * 8 + row] = block[row * 8 + column];
    }
    return turned;
}
constexpr Block kWavesTurned = Turned(kWaves);

void Multiply(const Block& a, const Block& b, Block& out) {
    for (std::size_t row = 0; row < 8; ++row) {
        std::array<float, 8> sums{};
        for (std::size_t i = 0; i < 8; ++i) {
            const float factor = a[row * 8 + i];
            for (std::size_t column = 0; column < 8; ++column)
                sums[column] += factor * b[i * 8 + column];
        }
        for (std::size_t column = 0; column < 8; ++column)
            out[row * 8 + column] = sums[column];
    }
}

// Rounds the block's waves to multiples of steps that grow with their frequency.
void Coarsen(Block& block, float step) {
    Block half;
    Block waves;
    Multiply(kWaves, block, half);
    Multiply(half, kWavesTurned, waves);
    for (std::size_t v = 0; v < 8; ++v) {
        for (std::size_t u = 0; u < 8; ++u) {
            const float size = step * (1.0F + 0.6F * static_cast<float>(u + v));
            float& wave = waves[v * 8 + u];
            wave = static_cast<float>(FloorToInt(wave / size + 0.5F)) * size;
        }
    }
    Multiply(kWavesTurned, waves, half);
    Multiply(half, kWaves, block);
}

struct Yuv {
    float y, u, v;
};

Yuv ToYuv(const std::uint8_t* rgb) {
    const float r = rgb[0];
    const float g = rgb[1];
    const float b = rgb[2];
    const float y = 0.299F * r + 0.587F * g + 0.114F * b;
    return {y, (b - y) * 0.564F, (r - y) * 0.713F};
}

std::uint8_t Byte(float value) {
    return static_cast<std::uint8_t>(std::clamp(static_cast<int>(value + 0.5F), 0, 255));
}

// Sixteen by sixteen pixels: four blocks of brightness and one of each colour difference.
struct Patch {
    std::array<Block, 4> y;
    Block u;
    Block v;
};

const std::uint8_t* PixelAt(const Frame& frame, int x, int y) {
    x = x < frame.width ? x : frame.width - 1;
    y = y < frame.height ? y : frame.height - 1;
    return frame.rgb.data() +
           (static_cast<std::size_t>(y) * static_cast<std::size_t>(frame.width) + static_cast<std::size_t>(x)) * 3U;
}

void Read(const Frame& frame, int left, int top, Patch& patch) {
    patch.u.fill(0.0F);
    patch.v.fill(0.0F);
    for (int y = 0; y < 16; ++y) {
        for (int x = 0; x < 16; ++x) {
            const Yuv yuv = ToYuv(PixelAt(frame, left + x, top + y));
            patch.y[static_cast<std::size_t>(y / kBlock * 2 + x / kBlock)]
                   [static_cast<std::size_t>(y % kBlock * kBlock + x % kBlock)] = yuv.y;
            const auto small = static_cast<std::size_t>(y / 2 * kBlock + x / 2);
            patch.u[small] += yuv.u * 0.25F;
            patch.v[small] += yuv.v * 0.25F;
        }
    }
}

void Write(const Patch& patch, int left, int top, Frame& frame) {
    for (int y = 0; y < 16 && top + y < frame.height; ++y) {
        for (int x = 0; x < 16 && left + x < frame.width; ++x) {
            const float light = patch.y[static_cast<std::size_t>(y / kBlock * 2 + x / kBlock)]
                                       [static_cast<std::size_t>(y % kBlock * kBlock + x % kBlock)];
            const auto small = static_cast<std::size_t>(y / 2 * kBlock + x / 2);
            const float u = patch.u[small];
            const float v = patch.v[small];
            std::uint8_t* const rgb =
                frame.rgb.data() + (static_cast<std::size_t>(top + y) * static_cast<std::size_t>(frame.width) +
                                    static_cast<std::size_t>(left + x)) *
                                       3U;
            rgb[0] = Byte(light + 1.403F * v);
            rgb[1] = Byte(light - 0.344F * u - 0.714F * v);
            rgb[2] = Byte(light + 1.773F * u);
        }
    }
}

}  // namespace

void Compress(Frame& frame, float strength) {
    const float step = 3.0F + 27.0F * strength * strength;
    Patch patch;
    for (int top = 0; top < frame.height; top += 16) {
        for (int left = 0; left < frame.width; left += 16) {
            Read(frame, left, top, patch);
            for (Block& block : patch.y)
                Coarsen(block, step);
            Coarsen(patch.u, step * 1.5F);
            Coarsen(patch.v, step * 1.5F);
            Write(patch, left, top, frame);
        }
    }
}

}  // namespace scenes
