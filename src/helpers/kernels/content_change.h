#pragma once

#include <cstdint>

#include "helpers/kernels/kernels.h"

namespace rvo_calyr {

// Whether a frame must be inferred: 1, or 0 when the mask of the last inference still fits, because the picture has
// hardly changed along that mask's edge since the reference frame.
//   pixelCount  pixels in one plane, N; when it isn't positive no pixel has changed
//   current     the frame: three planes of N bytes, one after the other
//   reference   the reference frame, same form
//   edgeMap     N bytes, not 0 on the pixels to look at
//   edgeCount   how many of them there are
//   skipCount   in and out: frames skipped so far. One more when the result is 0, and 0 when it is 1: more than 16
//               skipped force an inference. Negative, it counts up to 0 and every frame is skipped
//   mode        2 always; not read
//   permille    may be null; receives changed pixels per thousand edge pixels, truncated. Above 180 the frame is
//               inferred. Left alone when the answer was known without measuring: a null array, a skipCount that is
//               negative or above 16, fewer than 9 edge pixels
// Nothing is allocated or thrown. Thread: any. Lock: none taken; the frame path guards skipCount and the arrays.
std::int32_t DetectContentChange(std::int32_t pixelCount, const std::uint8_t* current, const std::uint8_t* reference,
                                 const std::uint8_t* edgeMap, std::int32_t edgeCount, std::int32_t& skipCount,
                                 std::uint64_t mode, std::int32_t* permille);

// The same with a given version of the per-pixel functions.
std::int32_t DetectContentChange(const kernels::Kernels& version, std::int32_t pixelCount, const std::uint8_t* current,
                                 const std::uint8_t* reference, const std::uint8_t* edgeMap, std::int32_t edgeCount,
                                 std::int32_t& skipCount, std::uint64_t mode, std::int32_t* permille);

}  // namespace rvo_calyr
