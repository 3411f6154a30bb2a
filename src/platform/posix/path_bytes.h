#pragma once

#include <string>

// Between wide paths and the bytes that the system takes. Bytes that are no UTF-8 travel unchanged, so that every file
// can be named. Paths end at their first NUL.
namespace platform::posix {

std::string ToBytes(const std::wstring& path);  // "" for what is no text: no file has that name
std::wstring ToWide(const std::string& path);

}  // namespace platform::posix
