#include "velmo_media/colour.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <utility>

namespace velmo_media {
namespace {

constexpr std::int32_t kOne = 1 << 16;
constexpr std::int32_t kHalf = kOne / 2;
constexpr std::uint32_t kLargeHeight = 720;
constexpr std::uint32_t kLargeWidth = 1280;

constexpr std::pair<std::string_view, Rgb> kNames[] = {
    {"black", {0, 0, 0}}, {"white", {255, 255, 255}}, {"grey", {128, 128, 128}}, {"gray", {128, 128, 128}},
    {"red", {255, 0, 0}}, {"green", {0, 177, 64}},    {"blue", {0, 71, 187}},
};

std::int32_t Fixed(double value) {
    return static_cast<std::int32_t>(std::lround(value * kOne));
}

std::uint8_t Byte(std::int32_t fixed) {
    return static_cast<std::uint8_t>(std::clamp((fixed + kHalf) >> 16, 0, 255));
}

// How much of the brightness is red, and blue.
std::pair<double, double> WeightsOf(Matrix matrix) {
    return matrix == Matrix::Bt601 ? std::pair{0.299, 0.114} : std::pair{0.2126, 0.0722};
}

}  // namespace

std::optional<Rgb> ParseColour(std::string_view text) {
    for (const auto& [name, colour] : kNames) {
        if (text == name) return colour;
    }
    if (text.starts_with('#')) text.remove_prefix(1);
    std::uint32_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, 16);
    if (text.size() != 6 || error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return Rgb{static_cast<std::uint8_t>(value >> 16), static_cast<std::uint8_t>(value >> 8),
               static_cast<std::uint8_t>(value)};
}

Matrix MatrixFor(Size picture) {
    return picture.height >= kLargeHeight || picture.width >= kLargeWidth ? Matrix::Bt709 : Matrix::Bt601;
}

ColourConverter::ColourConverter(Matrix matrix, ColourRange range) {
    const auto [red, blue] = WeightsOf(matrix);
    const double green = 1 - red - blue;
    const bool isFull = range == ColourRange::Full;
    const double brightness = isFull ? 1 : 219.0 / 255;
    const double colour = isFull ? 1 : 224.0 / 255;
    m_black = isFull ? 0 : 16;
    m_scale = Fixed(1 / brightness);
    m_redOfV = Fixed(2 * (1 - red) / colour);
    m_blueOfU = Fixed(2 * (1 - blue) / colour);
    m_greenOfU = Fixed(-2 * (1 - blue) * blue / green / colour);
    m_greenOfV = Fixed(-2 * (1 - red) * red / green / colour);
    const double u = colour / 2 / (1 - blue);
    const double v = colour / 2 / (1 - red);
    m_back = {{{Fixed(red * brightness), Fixed(green * brightness), Fixed(blue * brightness)},
               {Fixed(-red * u), Fixed(-green * u), Fixed((1 - blue) * u)},
               {Fixed((1 - red) * v), Fixed(-green * v), Fixed(-blue * v)}}};
}

Rgb ColourConverter::ToRgb(std::uint8_t y, std::uint8_t u, std::uint8_t v) const {
    const std::int32_t bright = (y - m_black) * m_scale;
    const std::int32_t du = u - kNoColour;
    const std::int32_t dv = v - kNoColour;
    return {Byte(bright + m_redOfV * dv), Byte(bright + m_greenOfU * du + m_greenOfV * dv),
            Byte(bright + m_blueOfU * du)};
}

std::array<std::uint8_t, 3> ColourConverter::ToYuv(Rgb colour) const {
    const auto part = [&](std::size_t row, std::int32_t zero) {
        const auto& weights = m_back[row];
        return Byte(weights[0] * colour.red + weights[1] * colour.green + weights[2] * colour.blue + zero * kOne);
    };
    return {part(0, m_black), part(1, kNoColour), part(2, kNoColour)};
}

void ColourConverter::ToRgb(std::span<const std::uint8_t> y, std::span<const std::uint8_t> u,
                            std::span<const std::uint8_t> v, std::span<std::uint8_t> red, std::span<std::uint8_t> green,
                            std::span<std::uint8_t> blue) const {
    for (std::size_t at = 0; at < y.size(); ++at) {
        const Rgb colour = ToRgb(y[at], u[at], v[at]);
        red[at] = colour.red;
        green[at] = colour.green;
        blue[at] = colour.blue;
    }
}

}  // namespace velmo_media
