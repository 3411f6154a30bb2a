#include "probes/number_parsing.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <optional>
#include <stdexcept>
#include <system_error>

namespace probes {
namespace {

// Takes white space and a sign off the front of `text`. True for a minus.
bool TakeSign(std::string_view& text) {
    text.remove_prefix(std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size()));
    if (text.empty() || (text.front() != '-' && text.front() != '+')) return false;
    const bool isMinus = text.front() == '-';
    text.remove_prefix(1);
    return isMinus;
}

bool IsHexDigit(char one) {
    return (one >= '0' && one <= '9') || (one >= 'a' && one <= 'f') || (one >= 'A' && one <= 'F');
}

// What follows "0x", if a hexadecimal number does. A prefix without one is a 0 and an x.
std::optional<std::string_view> HexPart(std::string_view text) {
    if (!text.starts_with("0x") && !text.starts_with("0X")) return std::nullopt;
    text.remove_prefix(2);
    const std::size_t digit = text.starts_with('.') ? 1 : 0;
    if (digit >= text.size() || !IsHexDigit(text[digit])) return std::nullopt;
    return text;
}

std::errc ReadUnsigned(std::string_view text, float& value) {
    if (text.starts_with('-')) return std::errc::invalid_argument;  // a second sign, which from_chars would take
    const auto hex = HexPart(text);
    if (hex) text = *hex;
    const auto format = hex ? std::chars_format::hex : std::chars_format::general;
    return std::from_chars(text.data(), text.data() + text.size(), value, format).ec;
}

}  // namespace

std::int32_t ParseInteger(std::string_view text) {
    const bool isNegative = TakeSign(text);
    std::int64_t magnitude = 0;
    const auto result = text.starts_with('-') ? std::errc::invalid_argument
                                              : std::from_chars(text.data(), text.data() + text.size(), magnitude).ec;
    if (result == std::errc::invalid_argument) throw std::invalid_argument("invalid stoi argument");
    const std::int64_t value = isNegative ? -magnitude : magnitude;
    const auto fits = static_cast<std::int32_t>(static_cast<std::uint32_t>(value));
    if (result != std::errc() || fits != value) throw std::out_of_range("stoi argument out of range");
    return fits;
}

float ParseFloat(std::string_view text) {
    const bool isNegative = TakeSign(text);
    float value = 0;
    const std::errc result = ReadUnsigned(text, value);
    if (result == std::errc::invalid_argument) throw std::invalid_argument("invalid stof argument");
    if (result != std::errc()) throw std::out_of_range("stof argument out of range");
    return isNegative ? -value : value;
}

}  // namespace probes
