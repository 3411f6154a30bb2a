#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

namespace velmo_report {

// Any text as the content of an element or of an attribute. Control characters and what is no UTF-8 become "\xHH".
std::string Escaped(std::string_view text);

// The numbers of a page, each of them taken from the report's JSON and marked with where it stands there: so whoever
// has both can compare them.
class PageNumbers {
 public:
    explicit PageNumbers(nlohmann::ordered_json json) : m_json(std::move(json)) {}

    // A span with the number at `pointer`, such as "/latencyMs/p95", rounded to so many decimals.
    std::string Number(const std::string& pointer, int decimals = 0) const;

    // The marks for an element that shows the number by its shape.
    std::string Marks(const std::string& pointer, int decimals) const;

 private:
    std::string Text(const std::string& pointer, int decimals) const;

    nlohmann::ordered_json m_json;
};

}  // namespace velmo_report
