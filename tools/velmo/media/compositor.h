#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "velmo_media/background.h"
#include "velmo_media/picture.h"
#include "velmo_media/plane_scaler.h"

namespace velmo_media {

// Puts the person of a frame before a background, by a mask of the frame's size. Thread: one at a time. Allocates in
// the constructor alone.
class Compositor {
 public:
    Compositor(const BackgroundKind& background, const PixelFormat& format, Size size);

    // `mask` has one byte for each pixel; it says how much of the frame is seen there, 255 all of it. `out` gets the
    // frame's format and size.
    void Composite(const Picture& frame, std::span<const std::uint8_t> mask, Picture& out);

 private:
    Size m_size;
    Background m_background;
    PlaneScaler m_toChroma;
    std::vector<std::uint8_t> m_chromaMask;  // empty where all planes have the frame's size
};

}  // namespace velmo_media
