#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace probes {

// The pieces of a text between delimiters, as a stream reader gives them: adjacent delimiters have an empty piece
// between them, one at the very end has none behind it, and an empty text has no piece. Throws std::bad_alloc.
std::vector<std::string> SplitText(std::string_view text, char delimiter);

}  // namespace probes
