#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "velmo_media/picture.h"

namespace velmo_media {

// Frames per second as a fraction; 0:0 when nobody knows.
struct FrameRate {
    std::uint32_t numerator = 0;
    std::uint32_t denominator = 0;

    friend bool operator==(const FrameRate&, const FrameRate&) = default;
};

// What holds for all frames of a video.
struct VideoFormat {
    PixelFormat pixels;
    Size size;
    FrameRate rate;
    FrameRate aspect;    // of a pixel; 0:0 when nobody knows
    std::string chroma;  // how a Y4M header names the pixels; "" for it to be chosen
};

// Where frames come from, one at a time. Thread: one at a time; another one than the constructor's may read.
class FrameSource {
 public:
    virtual ~FrameSource() = default;

    // Known from construction on.
    virtual const VideoFormat& Format() const = 0;

    // How many frames there are, where that can be told without reading them.
    virtual std::optional<std::uint64_t> CountHint() const { return std::nullopt; }

    // Reads the next frame into `picture`. False at a proper end. Throws MediaError for anything else.
    virtual bool Next(Picture& picture) = 0;

    // The name that the frame read last has as a file, such as "scene_07.png"; "" where it has none.
    virtual std::string FrameName() const { return {}; }
};

}  // namespace velmo_media
