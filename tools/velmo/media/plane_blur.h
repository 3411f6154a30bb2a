#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "velmo_media/picture.h"

namespace velmo_media {

// Blurs planes of one size: the mean of a square, twice, which looks like a soft lens. Pixels beyond the edge count as
// the edge's own. Thread: one at a time. Allocates in the constructor alone.
class PlaneBlur {
 public:
    // `radius` is how far the square reaches to each side, in pixels, 1024 at most; 0 copies.
    PlaneBlur(Size size, std::uint32_t radius);

    // `target` may not be `source`.
    void Blur(std::span<const std::uint8_t> source, std::span<std::uint8_t> target);

 private:
    void BlurRows(std::span<const std::uint8_t> source, std::span<std::uint8_t> target) const;
    void BlurColumns(std::span<const std::uint8_t> source, std::span<std::uint8_t> target);

    Size m_size;
    std::uint32_t m_radius;
    std::vector<std::uint8_t> m_between;
    std::vector<std::uint32_t> m_sums;
};

}  // namespace velmo_media
