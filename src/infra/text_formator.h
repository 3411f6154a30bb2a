#pragma once

#include <concepts>
#include <cstdint>
#include <string>
#include <type_traits>

#include "infra/number_text.h"

namespace infra {

// The integers whose width differs between systems or that share their width with another type.
template <typename T>
concept LongInteger = std::same_as<T, long> || std::same_as<T, long long> || std::same_as<T, unsigned long> ||
    std::same_as<T, unsigned long long>;

// Builds one line of text in a buffer of the caller's. Never writes past the buffer: what doesn't fit is lost in
// silence. Allocates nothing. Thread: one at a time.
class TextFormator {
 public:
    // Begins an empty line in `buffer` of `capacity` chars, the terminator included; at least 1. The buffer outlives
    // the formatter.
    TextFormator(char* buffer, std::uint32_t capacity);
    TextFormator(const TextFormator&) = delete;
    TextFormator& operator=(const TextFormator&) = delete;
    virtual ~TextFormator() = default;

    // Appends a terminated text, cut to the room that is left. Null appends nothing.
    TextFormator& Append(const char* text);

    TextFormator& operator<<(const char* text);
    // Appends up to the string's first NUL.
    TextFormator& operator<<(const std::string& text);

    // Append the number in the radix set, lowercase, negative ones with a "-"; 8 bits are a number, no character.
    TextFormator& operator<<(std::int32_t value);
    TextFormator& operator<<(std::uint32_t value);
    TextFormator& operator<<(std::int64_t value);
    TextFormator& operator<<(std::uint64_t value);
    TextFormator& operator<<(std::uint8_t value);
    // `long` and `long long` by their value, whichever of them the fixed widths above stand for.
    template <LongInteger T>
    TextFormator& operator<<(T value);

    // Appends "0x" and the low 32 bits of the address in hexadecimal, without leading zeros: a line has at most eight
    // digits for an object, and whoever reads the lines is used to that. Takes a radix that was set with it.
    TextFormator& operator<<(const void* pointer);

    // Sets the radix of the next number only, 2 to 36; any other counts as 10.
    void SetRadix(std::int32_t radix);
    std::int32_t Radix() const;

    // The line so far, terminated: the caller's buffer.
    const char* Text() const;
    // Chars in the line, without the terminator.
    std::uint32_t Length() const;
    // Empties the line, sets the radix to 10 and returns the buffer.
    char* Reset();

 private:
    TextFormator& AppendInRadix(SignedMagnitude number);

    // m_buffer[m_length] is always 0, and m_length below m_capacity.
    char* m_buffer;
    std::uint32_t m_capacity;
    std::uint32_t m_length;
    std::int32_t m_radix;
};

template <LongInteger T>
TextFormator& TextFormator::operator<<(T value) {
    if constexpr (std::is_signed_v<T>) {
        return *this << static_cast<std::int64_t>(value);
    } else {
        return *this << static_cast<std::uint64_t>(value);
    }
}

}  // namespace infra
