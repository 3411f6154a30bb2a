#pragma once

#include <cstdint>
#include <string_view>

// Numbers at the start of a text, as the C library reads them in its plain locale, whatever locale is set. White space
// and one sign may stand in front, and what can't belong to the number ends it.
// The errors are std::invalid_argument and std::out_of_range with fixed texts; standard libraries word them
// differently. Thread: any.
namespace probes {

// A decimal number of 32 bits. Throws "invalid stoi argument" or "stoi argument out of range".
std::int32_t ParseInteger(std::string_view text);

// A number of single precision by the rules of strtof: decimal or, behind "0x", hexadecimal, with or without a point
// and an exponent, or one of the words for infinity and for not a number. Throws "invalid stof argument" or "stof
// argument out of range".
float ParseFloat(std::string_view text);

}  // namespace probes
