#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace velmo_tool {

// The longest text that any library may be taken seriously with, in chars.
inline constexpr std::uint64_t kLongestText = 1u << 20;

// Fetches a text into a buffer of `length` chars with room for a terminator behind it, as the process does, and with
// marked bytes behind that.
//   fill       asks the library to write the text to its argument
//   complaint  gets what the library did wrong, if it did: wrote behind the room, counted a terminator, wrote less than
//              it said, or gave a length that can't be. Left alone otherwise
// Returns the text, empty when its length can't be.
std::string FetchGuarded(std::uint64_t length, const std::function<void(char*)>& fill,
                         std::optional<std::string>& complaint);

}  // namespace velmo_tool
