#pragma once

#include <cstdint>

namespace platform {

enum class CodePage : std::uint32_t {
    System = 0,      // the system's own; UTF-8 on Linux
    ThreadAnsi = 3,  // the calling thread's; on Linux UTF-8, and bytes that are none travel unchanged
    Utf8 = 65001,
};

// Conversion between wide and byte text. All texts are terminated, all counts include the terminator. Text that has no
// counterpart is replaced as the platform replaces it; that is no failure.
// Thread: any.
class TextConversion {
 public:
    virtual ~TextConversion() = default;

    // Converts `text` into `buffer` of `capacity` chars; with a null buffer and capacity 0 only counts.
    // Returns the chars written or needed, 0 on failure (also when the buffer is too small).
    virtual int WideToBytes(CodePage codePage, const wchar_t* text, char* buffer, int capacity) = 0;

    // The other direction; counts are in wide chars.
    virtual int BytesToWide(CodePage codePage, const char* text, wchar_t* buffer, int capacity) = 0;
};

// The operating system's own.
TextConversion& SystemTextConversion();

}  // namespace platform
