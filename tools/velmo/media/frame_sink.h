#pragma once

#include <string>

#include "velmo_media/picture.h"

namespace velmo_media {

// Where frames go, one at a time. Thread: one at a time.
class FrameSink {
 public:
    virtual ~FrameSink() = default;

    // Writes one more frame. `name` is what the frame is called as a file, "" where it has none. Throws MediaError when
    // it can't be written; what was written before stays.
    virtual void Write(const Picture& picture, const std::string& name) = 0;

    // All frames are written: makes sure that they are. Throws MediaError.
    virtual void Finish() = 0;
};

}  // namespace velmo_media
