#pragma once

#include <cstdint>

namespace network_check {

// A mask's float as its byte: cut to a whole number; below 0 is 0, from 255 up is 255, not-a-number is 0. From 0 to
// below 256, where the reference networks stay, that is the process's byte. Beyond them it takes the low 8 bits, so
// that -1 is a person: no way to measure a network. Thread: any.
constexpr std::uint8_t MaskByte(float value) {
    if (!(value > 0.0F)) return 0;
    return value < 255.0F ? static_cast<std::uint8_t>(value) : std::uint8_t{255};
}

}  // namespace network_check
