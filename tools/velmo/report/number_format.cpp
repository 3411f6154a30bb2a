#include "velmo_report/number_format.h"

#include <array>
#include <charconv>

namespace velmo_report {

std::string Fixed(double value, int decimals) {
    std::array<char, 400> text{};  // the largest double has 309 digits
    const auto result =
        std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed, decimals);
    return {text.data(), result.ptr};
}

}  // namespace velmo_report
