#pragma once

#include <optional>

#include "velmo_media/colour.h"
#include "velmo_media/picture.h"
#include "velmo_media/plane_scaler.h"

namespace velmo_media {

// Any picture as Rgb of the same size, its colours taken as they are where they are smaller (no smoothing). Allocates
// only when `rgb` has been smaller.
void ConvertToRgb(const Picture& picture, Picture& rgb);

// Makes Rgb pictures of one size to pictures of another format. Smaller colour planes take the mean of what they cover.
// Thread: one at a time. Allocates in the constructor alone, and when `out` has been smaller.
class RgbConverter {
 public:
    RgbConverter(const PixelFormat& format, Size size);

    void Convert(const Picture& rgb, Picture& out);

 private:
    PixelFormat m_format;
    Size m_size;
    ColourConverter m_colours;
    Picture m_whole;                         // with colour planes of the picture's size, where the format's are smaller
    std::optional<PlaneScaler> m_toColours;  // there alone
};

// One such picture.
Picture ConvertTo(const PixelFormat& format, const Picture& rgb);

}  // namespace velmo_media
