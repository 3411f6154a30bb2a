#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "velmo_media/picture.h"
#include "velmo_report/frame_record.h"

namespace velmo_run {

// A frame and all that comes of it on its way. Its buffers serve one frame after the other.
struct FrameSlot {
    velmo_media::Picture picture;
    std::string name;                                 // as a file
    std::array<std::vector<std::uint8_t>, 3> planes;  // for the model
    std::chrono::steady_clock::time_point ready;      // read, scaled and due
    std::vector<std::uint8_t> mask;                   // of the model's size; empty when there is none
    velmo_report::FrameRecord record;
};

}  // namespace velmo_run
