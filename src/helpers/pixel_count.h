#pragma once

#include <cstdint>

#include "ipc/records/frame_records.h"

namespace rvo_calyr {

// The pixels of a frame with this header. In 64 bits, where no two sides overflow.
constexpr std::uint64_t PixelCount(const calyr_ipc::IpcFrameHeader& header) {
    return std::uint64_t{header.width} * header.height;
}

}  // namespace rvo_calyr
