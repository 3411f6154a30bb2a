#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "velmo_media/picture.h"

namespace velmo_media {

// How far a blur reaches to each side, in pixels, 1024 at most; 0 copies.
struct BlurRadius {
    std::uint32_t x = 0;
    std::uint32_t y = 0;
};

// Blurs planes of one size: the mean of a rectangle, twice, which looks like a soft lens. Pixels beyond the edge count
// as the edge's own. Thread: one at a time. Allocates in the constructor alone.
class PlaneBlur {
 public:
    PlaneBlur(Size size, BlurRadius radius);

    // `target` may not be `source`.
    void Blur(std::span<const std::uint8_t> source, std::span<std::uint8_t> target);

 private:
    void BlurRows(std::span<const std::uint8_t> source, std::span<std::uint8_t> target) const;
    void BlurColumns(std::span<const std::uint8_t> source, std::span<std::uint8_t> target);

    Size m_size;
    BlurRadius m_radius;
    std::vector<std::uint8_t> m_between;
    std::vector<std::uint32_t> m_sums;
};

}  // namespace velmo_media
