#pragma once

#include <cstddef>
#include <cstdint>

// The per-pixel functions as they are defined, one step after the other: what the fast versions are held to. What each
// does stands at kernels::Kernels.
namespace rvo_calyr::kernels::plain {

void WidenBytes(const std::uint8_t* bytes, std::size_t count, float* floats);

void ConvertMask(const float* floats, std::size_t count, std::uint8_t* mask);

std::uint64_t ConvertMaskTwice(const float* floats, std::size_t count, std::uint8_t* mask, std::uint8_t* previousMask);

std::size_t CountChangedPixels(std::size_t pixelCount, const std::uint8_t* current, const std::uint8_t* reference,
                               const std::uint8_t* edgeMap);

// Throws std::bad_alloc: it builds a table of 4 × width × height bytes.
bool BuildEdgeMap(std::int32_t width, std::int32_t height, const std::uint8_t* mask, std::uint32_t& count,
                  std::uint8_t* map);

}  // namespace rvo_calyr::kernels::plain
