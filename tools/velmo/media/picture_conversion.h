#pragma once

#include "velmo_media/picture.h"

namespace velmo_media {

// Any picture as Rgb of the same size, its colours taken as they are where they are smaller (no smoothing). Allocates
// only when `rgb` has been smaller.
void ConvertToRgb(const Picture& picture, Picture& rgb);

// An Rgb picture in any format. Smaller colour planes take the mean of what they cover.
Picture ConvertTo(const PixelFormat& format, const Picture& rgb);

}  // namespace velmo_media
