#pragma once

#include <string>
#include <string_view>

#include "velmo_media/frame_source.h"

namespace velmo_media {

// What a Y4M stream begins with; the text is without its line end. Throws MediaError with the reason, which doesn't
// name the stream: not a header at all, no size or an absurd one, interlaced, or pixels that can't be read here
// (more than 8 bits, with transparency, unknown).
VideoFormat ParseY4mHeader(std::string_view line);

// The header for a video, with its line end. The format's pixels are Yuv or Grey.
std::string Y4mHeader(const VideoFormat& format);

}  // namespace velmo_media
