#pragma once

#include <cstdint>
#include <string>

namespace hvq_double {

// The forms in which arguments stand in the record of calls.
struct Text {
    const char* value;  // in double quotes, with \" \\ and \n; "null" for none
};
struct WideText {
    const wchar_t* value;  // as Text, in UTF-8
};
struct Pointer {
    const void* value;  // "set" or "null"
};
struct Number {
    std::int64_t value;
};
struct Numbers {
    const std::uint64_t* values;  // in square brackets; "null" for none
    std::uint64_t count;
};

// Each adds a blank and the argument.
void Append(std::string& call, Text text);
void Append(std::string& call, WideText text);
void Append(std::string& call, Pointer pointer);
void Append(std::string& call, Number number);
void Append(std::string& call, Numbers numbers);

}  // namespace hvq_double
