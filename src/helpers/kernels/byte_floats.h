#pragma once

#include <cstdint>
#include <span>

namespace rvo_calyr {

// Bytes to the floats of a network's input and back. Arrays may start anywhere and don't overlap. In each call the
// first one says how many elements there are; the others hold at least as many, and what they hold beyond is left.
// Nothing is allocated or thrown. Thread: any. Lock: none taken.

// Each byte becomes the float of the same value, 0.0 to 255.0: no scaling.
void WidenBytes(std::span<const std::uint8_t> bytes, std::span<float> floats);

// Each float becomes a byte: truncated toward zero to a signed 32-bit integer, then its low 8 bits. So -1.0 gives 255
// and 256.0 gives 0; what doesn't fit into the integer, not-a-number included, gives 0.
void ConvertMask(std::span<const float> floats, std::span<std::uint8_t> mask);

// The same into two masks in one pass, which costs little more than one. Returns the sum of the bytes of one of them.
std::uint64_t ConvertMask(std::span<const float> floats, std::span<std::uint8_t> mask,
                          std::span<std::uint8_t> previousMask);

}  // namespace rvo_calyr
