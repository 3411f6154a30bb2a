#pragma once

#include <string>

namespace platform::win32 {

// Between byte texts of a code page and the system's own texts, which are wide. "" for what can't be converted.
std::wstring ToWide(unsigned codePage, const std::string& text);
std::string ToBytes(unsigned codePage, const wchar_t* text);

// The system's words for an error number, in UTF-8, on one line; the bare number when it has none.
std::string ErrorText(unsigned long error);

}  // namespace platform::win32
