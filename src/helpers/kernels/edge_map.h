#pragma once

#include <cstdint>

namespace rvo_calyr {

// Marks the band of pixels within two pixels of the mask's outline, on both sides of it: those whose window of 5 × 5
// pixels, cut off at the image's borders, holds both foreground and background.
//   mask   width × height bytes, row by row; above 128 is foreground. width and height are in pixels; when one of them
//          isn't positive there is nothing to mark
//   count  out: pixels marked
//   map    width × height bytes; 1 is written on marked pixels, the rest keeps its value: the caller zeroes it. One
//          thread at a time: bytes between marked ones may be written with the value that they have
// Returns false, with nothing written, when mask or map is null. Throws std::bad_alloc where only the plain version
// runs (processors other than x86-64), else nothing. Thread: any. Lock: none taken.
bool BuildEdgeMap(std::int32_t width, std::int32_t height, const std::uint8_t* mask, std::uint32_t& count,
                  std::uint8_t* map);

}  // namespace rvo_calyr
