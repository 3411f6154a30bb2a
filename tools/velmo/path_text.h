#pragma once

#include <filesystem>
#include <string>

// Paths as this program's texts, which are UTF-8 on every system. Throw std::bad_alloc only.
namespace velmo_tool {

// From a word of the command line, which comes in the system's code page.
std::string Utf8FromArgument(const std::string& argument);

// The other way round.
std::string ArgumentFromUtf8(const std::string& text);

std::filesystem::path PathFromUtf8(const std::string& text);
std::wstring WideFromUtf8(const std::string& text);
std::string PathToUtf8(const std::filesystem::path& path);

}  // namespace velmo_tool
