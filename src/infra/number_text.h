#pragma once

#include <cstdint>
#include <span>
#include <system_error>

namespace infra {

class TextFormator;

// Radixes that there are digits for.
inline constexpr std::int32_t kMinRadix = 2;
inline constexpr std::int32_t kMaxRadix = 36;

// A whole number as its sign and its distance from 0, so that one conversion serves every width.
struct SignedMagnitude {
    std::uint64_t magnitude = 0;
    bool isNegative = false;
};

SignedMagnitude SplitSign(std::int64_t value);

// Writes `number` in `radix` with lowercase digits into `scratch`, terminated, a "-" in front when it is negative, with
// no padding and no prefix. A radix without digits counts as 10. Returns std::errc() when it is done, and
// std::errc::value_too_large, the empty text written, when scratch is too small for digits and terminator.
// scratch holds at least one char. Allocates nothing. Thread: any.
std::errc WriteNumber(SignedMagnitude number, std::int32_t radix, std::span<char> scratch);

// Appends `number` to `line`, converted in `scratch`; where that is too small, the words of std::errc::value_too_large.
void AppendNumber(TextFormator& line, SignedMagnitude number, std::int32_t radix, std::span<char> scratch);

}  // namespace infra
