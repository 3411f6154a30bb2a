#include "velmo_scenes/camera.h"

#include <algorithm>
#include <array>
#include <vector>

#include "velmo_scenes/compression.h"

namespace scenes {
namespace {

// Noise is looked up, for drawing it anew for every pixel would take longer than all else.
constexpr std::size_t kGrains = 1U << 16;

const std::vector<float>& Grains() {
    static const std::vector<float>& grains = *[] {
        auto* const values = new std::vector<float>(kGrains + 4096U * 3U);
        Random random(20240U);
        for (std::size_t i = 0; i < kGrains; ++i)
            (*values)[i] = 2.0F * random.Bell();
        for (std::size_t i = kGrains; i < values->size(); ++i)
            (*values)[i] = (*values)[i - kGrains];
        return values;
    }();
    return grains;
}

// The lines of a canvas that a blur goes along: its rows, or its columns, several at a time so that memory is read in
// order.
struct Lines {
    Texel* first;
    int steps;               // along the blur
    std::size_t stepStride;  // texels from one to the next
    int lanes;               // side by side, each a line of its own
    Texel& At(int step, int lane) const {
        const int inside = step < 0 ? 0 : step >= steps ? steps - 1 : step;
        return first[static_cast<std::size_t>(inside) * stepStride + static_cast<std::size_t>(lane)];
    }
};

// Box filter by a running sum.
void Smooth(const Lines& lines, int radius, std::vector<Colour>& scratch) {
    const float weight = 1.0F / static_cast<float>(2 * radius + 1);
    const auto lanes = static_cast<std::size_t>(lines.lanes);
    scratch.assign(lanes * (static_cast<std::size_t>(lines.steps) + 1U), Colour{});
    Colour* const sums = scratch.data();
    for (int i = -radius; i <= radius; ++i) {
        for (int lane = 0; lane < lines.lanes; ++lane)
            sums[lane] = sums[lane] + lines.At(i, lane).colour;
    }
    for (int i = 0; i < lines.steps; ++i) {
        Colour* const out = sums + lanes * (static_cast<std::size_t>(i) + 1U);
        for (int lane = 0; lane < lines.lanes; ++lane) {
            out[lane] = sums[lane] * weight;
            sums[lane] = sums[lane] + lines.At(i + radius + 1, lane).colour + lines.At(i - radius, lane).colour * -1.0F;
        }
    }
    for (int i = 0; i < lines.steps; ++i) {
        const Colour* const out = sums + lanes * (static_cast<std::size_t>(i) + 1U);
        for (int lane = 0; lane < lines.lanes; ++lane)
            lines.At(i, lane).colour = out[lane];
    }
}

// Three neighbours with a share for the outer two: less than any box does.
void Soften(const Lines& lines, float share, std::vector<Colour>& scratch) {
    const float middle = 1.0F - 2.0F * share;
    scratch.resize(static_cast<std::size_t>(lines.lanes));
    Colour* const before = scratch.data();
    for (int lane = 0; lane < lines.lanes; ++lane)
        before[lane] = lines.At(0, lane).colour;
    for (int i = 0; i < lines.steps; ++i) {
        for (int lane = 0; lane < lines.lanes; ++lane) {
            Texel& texel = lines.At(i, lane);
            const Colour here = texel.colour;
            texel.colour = here * middle + (before[lane] + lines.At(i + 1, lane).colour) * share;
            before[lane] = here;
        }
    }
}

// `deviation` in pixels.
void BlurAlong(const Lines& lines, float deviation, std::vector<Colour>& scratch) {
    const float variance = deviation * deviation;
    if (variance < 1.2F) {
        const int passes = variance > 0.5F ? 2 : 1;
        for (int i = 0; i < passes; ++i)
            Soften(lines, Lower(0.5F * variance / static_cast<float>(passes), 0.33F), scratch);
        return;
    }
    // Two boxes of width w have a variance of (w * w - 1) / 6.
    const int radius = static_cast<int>(0.5F * (Root(6.0F * variance + 1.0F) - 1.0F) + 0.5F);
    for (int i = 0; i < 2; ++i)
        Smooth(lines, radius < 1 ? 1 : radius, scratch);
}

// The curve from the light on the sensor to what is shown.
class ToneCurve {
 public:
    explicit ToneCurve(const Camera& camera) {
        for (std::size_t i = 0; i < m_values.size(); ++i) {
            float v = static_cast<float>(i) * (1.0F / kSteps);
            v += camera.contrast * v * (1.0F - v) * (2.0F * v - 1.0F);
            v += camera.bend * v * (1.0F - v);
            m_values[i] = camera.haze + v * (1.0F - camera.haze);
        }
    }
    float At(float value) const {
        const int step = static_cast<int>(value * kSteps + 0.5F);
        return m_values[static_cast<std::size_t>(std::clamp(step, 0, 2047))];
    }

 private:
    static constexpr float kSteps = 2047.0F;
    std::array<float, 2048> m_values;
};

std::uint8_t Byte(float value) {
    return static_cast<std::uint8_t>(std::clamp(static_cast<int>(value * 255.0F + 0.5F), 0, 255));
}

}  // namespace

Camera DrawCamera(Random& random) {
    Camera camera;
    const float exposure = 1.0F + 0.3F * random.Bell();
    const float warmth = 0.12F * random.Bell();
    const float green = 0.05F * random.Bell();
    camera.gain = Colour{1.0F + warmth, 1.0F + green, 1.0F - warmth} * exposure;
    camera.contrast = random.Between(-0.4F, 0.9F);
    camera.bend = 0.35F * random.Bell();
    camera.haze = random.Chance(0.25F) ? random.Between(0.0F, 0.14F) : 0.0F;
    camera.saturation = random.Chance(0.06F) ? random.Between(0.0F, 0.3F) : random.Between(0.65F, 1.15F);
    camera.vignette = random.Chance(0.4F) ? random.Between(0.05F, 0.5F) : 0.0F;
    camera.blur = random.Between(0.0F, 0.004F);
    if (random.Chance(0.08F)) camera.blur = random.Between(0.004F, 0.011F);
    if (random.Chance(0.07F)) camera.smear = random.Between(0.004F, 0.014F);
    if (random.Chance(0.3F)) camera.background = random.Between(0.004F, 0.035F);
    camera.noise = random.Chance(0.25F) ? random.Between(0.02F, 0.06F) : random.Between(0.002F, 0.02F);
    camera.blotchy = random.Chance(0.35F);
    camera.compression = random.Chance(0.4F) ? random.Between(0.05F, 1.0F) : 0.0F;
    camera.unrest = random.Chance(0.1F) ? random.Between(0.002F, 0.015F) : 0.0F;
    camera.flicker = random.Chance(0.12F) ? random.Between(0.03F, 0.2F) : 0.0F;
    if (random.Chance(0.08F)) {  // a dark room
        camera.gain = camera.gain * random.Between(0.25F, 0.6F);
        camera.noise += random.Between(0.01F, 0.03F);
    }
    return camera;
}

void Blur(Canvas& canvas, float across, float down) {
    const auto height = static_cast<float>(canvas.Height());
    const auto width = static_cast<std::size_t>(canvas.Width());
    std::vector<Colour> scratch;
    if (across * height > 0.15F) {
        for (int y = 0; y < canvas.Height(); ++y)
            BlurAlong({canvas.Row(y), canvas.Width(), 1, 1}, across * height, scratch);
    }
    if (down * height > 0.15F)
        BlurAlong({canvas.Row(0), canvas.Height(), width, canvas.Width()}, down * height, scratch);
}

void Develop(Canvas& canvas, const Camera& camera, std::uint64_t noiseSeed, Frame& frame) {
    Blur(canvas, camera.blur + camera.smear, camera.blur);
    const int width = canvas.Width();
    const int height = canvas.Height();
    frame.width = width;
    frame.height = height;
    frame.rgb.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 3U);
    frame.mask.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    const std::vector<float>& grains = Grains();
    const ToneCurve tone(camera);
    std::size_t pixel = 0;
    for (int y = 0; y < height; ++y) {
        const Texel* const row = canvas.Row(y);
        const float fy = (static_cast<float>(y) + 0.5F) / static_cast<float>(height) - 0.5F;
        const auto line = static_cast<std::uint64_t>(camera.blotchy ? y / 2 : y);
        const std::uint64_t key = Scramble(noiseSeed + line * 0x9E3779B97F4A7C15ULL);
        const float* const grain = grains.data() + (key & (kGrains - 1));
        for (int x = 0; x < width; ++x, ++pixel) {
            const float fx = (static_cast<float>(x) + 0.5F) / static_cast<float>(width) - 0.5F;
            const float dark = 1.0F - camera.vignette * 2.0F * (fx * fx + fy * fy);
            Colour c = row[x].colour * camera.gain * dark;
            const float grey = 0.3F * c.r + 0.59F * c.g + 0.11F * c.b;
            c = Mix(Colour{grey, grey, grey}, c, camera.saturation);
            const float* const g = grain + static_cast<std::size_t>(camera.blotchy ? x / 2 : x) % 4096U * 3U;
            const float common = 0.6F * g[0];
            frame.rgb[pixel * 3U] = Byte(tone.At(c.r) + camera.noise * (common + 0.5F * g[1]));
            frame.rgb[pixel * 3U + 1U] = Byte(tone.At(c.g) + camera.noise * (common + 0.4F * g[2]));
            frame.rgb[pixel * 3U + 2U] = Byte(tone.At(c.b) + camera.noise * (common - 0.6F * g[1]));
            frame.mask[pixel] = Byte(row[x].cover);
        }
    }
    if (camera.compression > 0.0F) Compress(frame, camera.compression);
}

}  // namespace scenes
