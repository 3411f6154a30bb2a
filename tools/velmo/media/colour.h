#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "velmo_media/picture.h"

// Between the colours of a screen and those of a video.
namespace velmo_media {

// What a plane of colour holds where there is none, in every range.
inline constexpr std::uint8_t kNoColour = 128;

struct Rgb {
    std::uint8_t red = 0;
    std::uint8_t green = 0;
    std::uint8_t blue = 0;

    friend bool operator==(const Rgb&, const Rgb&) = default;
};

// "#rrggbb", "rrggbb", or one of black, white, grey, gray, red, green, blue. Nothing for any other text.
std::optional<Rgb> ParseColour(std::string_view text);

// Which brightness the colours have in a video. The streams that are read here don't tell it, so the size decides, as
// players do: small ones are like television was, large ones like it is.
enum class Matrix { Bt601, Bt709 };
Matrix MatrixFor(Size picture);

// From a video's three bytes to a screen's and back, each in whole numbers, rounded to the nearest.
class ColourConverter {
 public:
    ColourConverter(Matrix matrix, ColourRange range);

    Rgb ToRgb(std::uint8_t y, std::uint8_t u, std::uint8_t v) const;
    std::array<std::uint8_t, 3> ToYuv(Rgb colour) const;

    // Pixel by pixel. All spans have the same length; y, u, v may be the outputs.
    void ToRgb(std::span<const std::uint8_t> y, std::span<const std::uint8_t> u, std::span<const std::uint8_t> v,
               std::span<std::uint8_t> red, std::span<std::uint8_t> green, std::span<std::uint8_t> blue) const;

 private:
    // Multiplied by 2^16. To RGB: brightness less its black by m_scale, colours less 128 by the rest.
    std::int32_t m_black;
    std::int32_t m_scale;
    std::int32_t m_redOfV;
    std::int32_t m_greenOfU;
    std::int32_t m_greenOfV;
    std::int32_t m_blueOfU;
    std::array<std::array<std::int32_t, 3>, 3> m_back;  // rows y, u, v by red, green, blue
};

}  // namespace velmo_media
