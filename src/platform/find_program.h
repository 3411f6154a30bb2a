#pragma once

#include <optional>
#include <string>

namespace platform {

// The file that the system would run for this name, as a command line's first word: found in the folders that its
// environment names for programs. UTF-8. `name` is without an ending. Nothing when there is none.
std::optional<std::string> FindProgram(const std::string& name);

}  // namespace platform
