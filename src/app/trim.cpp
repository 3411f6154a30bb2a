#include "app/trim.h"

namespace app {
namespace {

// A search, and not the patterns "^\s+" and "\s+$" that it stands for: a matcher that recurses once per blank runs out
// of stack on a command line of 32,000 of them.
constexpr char kWhiteSpace[] = " \t\n\v\f\r";

}  // namespace

std::string TrimLeft(const std::string& text) {
    const std::size_t first = text.find_first_not_of(kWhiteSpace);
    return first == std::string::npos ? std::string() : text.substr(first);
}

std::string TrimRight(const std::string& text) {
    const std::size_t last = text.find_last_not_of(kWhiteSpace);
    return last == std::string::npos ? std::string() : text.substr(0, last + 1);
}

std::string Trim(const std::string& text) {
    return TrimLeft(TrimRight(text));
}

}  // namespace app
