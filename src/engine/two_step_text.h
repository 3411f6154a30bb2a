#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

// The library allocates nothing for its caller: a text is asked for its length, and then written to a string of exactly
// that many chars. The string's own terminator stands behind them, where the library may write its.
namespace hvq::inference {

// No text is longer than its length can be in those functions that give it in 32 bits. A length beyond it is damage,
// and no reason to ask the system for all the memory that it has.
inline constexpr std::uint64_t kLongestText = 0x7FFF'FFFF;

// `length` zero chars, to be filled. Throws std::length_error with "string too long", and std::bad_alloc.
inline std::string ZeroText(std::uint64_t length) {
    if (length > kLongestText) throw std::length_error("string too long");
    return std::string(static_cast<std::string::size_type>(length), '\0');
}

// The same for a length given in 32 bits: a negative one is a huge one.
inline std::string ZeroText(std::int32_t length) {
    return ZeroText(static_cast<std::uint64_t>(static_cast<std::int64_t>(length)));
}

// Fetches a text in its two steps.
//   askLength  gives the length, as std::int32_t or std::uint64_t
//   fill       writes the text to the buffer that it is given
//   check      called after each of them; throws what the library complains of
template <typename AskLength, typename Fill, typename Check>
std::string FetchText(const AskLength& askLength, const Fill& fill, const Check& check) {
    const auto length = askLength();
    check();
    std::string text = ZeroText(length);
    fill(text.data());
    check();
    return text;
}

}  // namespace hvq::inference
