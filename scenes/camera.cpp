#include "velmo_scenes/camera.h"

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

// Box filter over `count` texels that stand `stride` apart, by a running sum.
void Smooth(Texel* line, int count, std::size_t stride, int radius, std::vector<Colour>& scratch) {
    const float weight = 1.0F / static_cast<float>(2 * radius + 1);
    const auto at = [&](int i) -> Colour& {
        const int inside = i < 0 ? 0 : i >= count ? count - 1 : i;
        return line[static_cast<std::size_t>(inside) * stride].colour;
    };
    Colour sum;
    for (int i = -radius; i <= radius; ++i)
        sum = sum + at(i);
    for (int i = 0; i < count; ++i) {
        scratch[static_cast<std::size_t>(i)] = sum * weight;
        sum = sum + at(i + radius + 1) + at(i - radius) * -1.0F;
    }
    for (int i = 0; i < count; ++i)
        at(i) = scratch[static_cast<std::size_t>(i)];
}

// Three neighbours with a share for the outer two: less than any box does.
void Soften(Texel* line, int count, std::size_t stride, float share) {
    const float middle = 1.0F - 2.0F * share;
    Colour before = line[0].colour;
    for (int i = 0; i < count; ++i) {
        Texel& texel = line[static_cast<std::size_t>(i) * stride];
        const Colour here = texel.colour;
        const Colour after = i + 1 < count ? line[static_cast<std::size_t>(i + 1) * stride].colour : here;
        texel.colour = here * middle + (before + after) * share;
        before = here;
    }
}

// `deviation` in pixels.
void BlurLine(Texel* line, int count, std::size_t stride, float deviation, std::vector<Colour>& scratch) {
    const float variance = deviation * deviation;
    if (variance < 1.2F) {
        const int passes = variance > 0.5F ? 2 : 1;
        for (int i = 0; i < passes; ++i)
            Soften(line, count, stride, Lower(0.5F * variance / static_cast<float>(passes), 0.33F));
        return;
    }
    // Two boxes of width w have a variance of (w * w - 1) / 6.
    const int radius = static_cast<int>(0.5F * (Root(6.0F * variance + 1.0F) - 1.0F) + 0.5F);
    for (int i = 0; i < 2; ++i)
        Smooth(line, count, stride, radius < 1 ? 1 : radius, scratch);
}

float Tone(float value, const Camera& camera) {
    float v = Clamp01(value);
    v += camera.contrast * v * (1.0F - v) * (2.0F * v - 1.0F);
    v += camera.bend * v * (1.0F - v);
    return camera.haze + v * (1.0F - camera.haze);
}

std::uint8_t Byte(float value) {
    return static_cast<std::uint8_t>(Clamp01(value) * 255.0F + 0.5F);
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
    if (random.Chance(0.08F)) {  // a dark room
        camera.gain = camera.gain * random.Between(0.25F, 0.6F);
        camera.noise += random.Between(0.01F, 0.03F);
    }
    return camera;
}

void Blur(Canvas& canvas, float across, float down) {
    const auto height = static_cast<float>(canvas.Height());
    const auto width = static_cast<std::size_t>(canvas.Width());
    std::vector<Colour> scratch(
        width > static_cast<std::size_t>(canvas.Height()) ? width : static_cast<std::size_t>(canvas.Height()));
    if (across * height > 0.15F) {
        for (int y = 0; y < canvas.Height(); ++y)
            BlurLine(canvas.Row(y), canvas.Width(), 1, across * height, scratch);
    }
    if (down * height > 0.15F) {
        for (int x = 0; x < canvas.Width(); ++x)
            BlurLine(canvas.Row(0) + x, canvas.Height(), width, down * height, scratch);
    }
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
            frame.rgb[pixel * 3U] = Byte(Tone(c.r, camera) + camera.noise * (common + 0.5F * g[1]));
            frame.rgb[pixel * 3U + 1U] = Byte(Tone(c.g, camera) + camera.noise * (common + 0.4F * g[2]));
            frame.rgb[pixel * 3U + 2U] = Byte(Tone(c.b, camera) + camera.noise * (common - 0.6F * g[1]));
            frame.mask[pixel] = Byte(row[x].cover);
        }
    }
    if (camera.compression > 0.0F) Compress(frame, camera.compression);
}

}  // namespace scenes
