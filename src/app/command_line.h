#pragma once

#include <optional>
#include <string>

namespace platform {
class TextConversion;
}

namespace app {

// The chars to convert a line of `length` wide chars (without its terminator) into: twice its length with the
// terminator. Nothing for lines of 0x3FFFFFFF wide chars and more, whose buffer no int could count.
std::optional<int> NarrowBufferChars(std::size_t length);

// The command line as narrow text, in the code page of the calling thread: object names are made of these bytes, and
// the parent makes them the same way. Nothing when the line is too long or can't be converted.
// Thread: the entry thread. Throws std::bad_alloc.
std::optional<std::string> NarrowCommandLine(const wchar_t* line, platform::TextConversion& conversion);

}  // namespace app
