#include "platform/posix/path_bytes.h"

#include <cstddef>

#include "platform/text_conversion.h"

namespace platform::posix {

// The thread's code page is the one that keeps strange bytes.

std::string ToBytes(const std::wstring& path) {
    TextConversion& conversion = SystemTextConversion();
    const int count = conversion.WideToBytes(CodePage::ThreadAnsi, path.c_str(), nullptr, 0);
    if (count <= 0) return {};
    std::string bytes(static_cast<std::size_t>(count), '\0');
    (void)conversion.WideToBytes(CodePage::ThreadAnsi, path.c_str(), bytes.data(), count);  // fits, so it can't fail
    bytes.pop_back();                                                                       // the terminator
    // What had to be replaced on the way would name another file.
    return ToWide(bytes) == path.c_str() ? bytes : std::string();
}

std::wstring ToWide(const std::string& path) {
    TextConversion& conversion = SystemTextConversion();
    const int count = conversion.BytesToWide(CodePage::ThreadAnsi, path.c_str(), nullptr, 0);
    if (count <= 0) return {};
    std::wstring wide(static_cast<std::size_t>(count), L'\0');
    (void)conversion.BytesToWide(CodePage::ThreadAnsi, path.c_str(), wide.data(), count);
    wide.pop_back();
    return wide;
}

}  // namespace platform::posix
