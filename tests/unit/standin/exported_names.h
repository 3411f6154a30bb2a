#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace standin_support {

// The names that a 64-bit library exports, sorted; of a PE or ELF file, by its own tables. Throws std::runtime_error
// for anything else.
std::vector<std::string> ExportedNames(const std::filesystem::path& file);

}  // namespace standin_support
