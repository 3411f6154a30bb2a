#include "velmo_media/blend.h"

#include <cstddef>

namespace velmo_media {

void Blend(std::span<const std::uint8_t> front, std::span<const std::uint8_t> back, std::span<const std::uint8_t> mask,
           std::span<std::uint8_t> out) {
    for (std::size_t at = 0; at < out.size(); ++at) {
        const std::uint32_t share = mask[at];
        const std::uint32_t sum = front[at] * share + back[at] * (255U - share) + 128U;
        out[at] = static_cast<std::uint8_t>((sum + (sum >> 8)) >> 8);  // the same as a division by 255, rounded
    }
}

}  // namespace velmo_media
