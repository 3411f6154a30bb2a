#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace standin {

using Digest = std::array<std::uint8_t, 16>;

// A 128-bit digest of bytes, to tell networks apart and to notice damage. It is quick, so that looking into the cache
// doesn't cost more than it saves, and no protection against somebody who makes two networks alike on purpose: whoever
// can write to the cache folder needs no such trick.
Digest Fingerprint(std::span<const std::uint8_t> bytes);
Digest Fingerprint(std::string_view text);

// Lower-case hexadecimal digits.
std::string Hex(const Digest& digest);

}  // namespace standin
