#pragma once

#include <optional>
#include <variant>
#include <vector>

#include "velmo_media/colour.h"
#include "velmo_media/picture.h"
#include "velmo_media/plane_blur.h"

namespace velmo_media {

struct BlurredBackground {};

// What stands where the person is not: a colour, a picture (Rgb; it is scaled to fill the frame, and what is too much
// on two sides is cut off), or the frame itself, blurred.
using BackgroundKind = std::variant<Rgb, Picture, BlurredBackground>;

// The background in the format of the frames. Thread: one at a time. Allocates in the constructor alone.
class Background {
 public:
    Background(const BackgroundKind& kind, const PixelFormat& format, Size size);

    // The background for this frame; valid until the next call.
    const Picture& For(const Picture& frame);

 private:
    Picture m_picture;
    std::vector<PlaneBlur> m_blurs;  // one for each plane, when it is blurred
};

}  // namespace velmo_media
