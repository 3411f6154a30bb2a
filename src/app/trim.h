#pragma once

#include <string>

namespace app {

// White space is blank, tab, line feed, vertical tab, form feed and carriage return; bytes above 127 are none.
// Inner white space stays. Thread: any. Throws std::bad_alloc.
std::string TrimLeft(const std::string& text);   // without white space at the beginning
std::string TrimRight(const std::string& text);  // without white space at the end
std::string Trim(const std::string& text);       // without either

}  // namespace app
