#pragma once

#include <cstdint>
#include <span>

#include "velmo_media/picture.h"
#include "velmo_report/run_report.h"

namespace velmo_report {

inline constexpr std::uint32_t kSheetGap = 6;           // pixels around and between the pictures
inline constexpr std::uint8_t kSheetBackground = 0x20;  // of all three colours

// The contact sheet as one Rgb picture: a column for each frame, with frame, mask and composite one below the other.
// Empty when there are no frames. Thread: any. Throws std::bad_alloc.
velmo_media::Picture SheetPicture(std::span<const SheetFrame> frames);

}  // namespace velmo_report
