#include "probes/split_text.h"

#include <algorithm>
#include <cstddef>

namespace probes {

std::vector<std::string> SplitText(std::string_view text, char delimiter) {
    std::vector<std::string> pieces;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(delimiter), text.size());
        pieces.emplace_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return pieces;
}

}  // namespace probes
