#pragma once

#include <cstdint>
#include <span>

namespace velmo_media {

// out = (front × mask + back × (255 - mask)) / 255, rounded to the nearest: a mask of 255 gives exactly the front, of 0
// exactly the back. All spans have the same length; out may be any of the others.
void Blend(std::span<const std::uint8_t> front, std::span<const std::uint8_t> back, std::span<const std::uint8_t> mask,
           std::span<std::uint8_t> out);

}  // namespace velmo_media
