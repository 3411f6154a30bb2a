#pragma once

#include <cstdint>
#include <ostream>
#include <string>
#include <variant>
#include <vector>

namespace velmo_tool {

// One thing that a probe gave.
struct ProbeFact {
    std::string label;
    std::variant<std::int64_t, bool, std::string> value;  // texts in printable ASCII
    std::string unit;                                     // empty for a bare value
    std::string meaning;                                  // what this value says; empty where it speaks for itself
};

// What one function gave, or what it threw.
struct ProbeAnswer {
    std::string function;
    std::vector<ProbeFact> facts;
    std::string error;  // empty: it came back
};

struct ProbeReport {
    std::vector<ProbeAnswer> answers;
};

// `bytes` in printable ASCII, whatever they are: others become "\x" and two hexadecimal digits, a backslash two of
// them.
std::string ShownBytes(const std::string& bytes);

// A heading for each function, and under it a line for each fact.
void PrintTable(const ProbeReport& report, std::ostream& out);

// One JSON object with "answers": of each function "function", and either "error" or "facts", each with "label",
// "value" and, where there is one, "unit" and "meaning".
void PrintJson(const ProbeReport& report, std::ostream& out);

}  // namespace velmo_tool
