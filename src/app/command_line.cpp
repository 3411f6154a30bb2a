#include "app/command_line.h"

#include <cwchar>
#include <vector>

#include "platform/text_conversion.h"

namespace app {

std::optional<int> NarrowBufferChars(std::size_t length) {
    constexpr std::size_t kTooLong = 0x3FFFFFFF;
    if (length >= kTooLong) return std::nullopt;
    return static_cast<int>(2 * (length + 1));
}

std::optional<std::string> NarrowCommandLine(const wchar_t* line, platform::TextConversion& conversion) {
    const std::optional<int> chars = NarrowBufferChars(std::wcslen(line));
    if (!chars) return std::nullopt;
    std::vector<char> buffer(static_cast<std::size_t>(*chars), '\0');
    if (conversion.WideToBytes(platform::CodePage::ThreadAnsi, line, buffer.data(), *chars) <= 0) return std::nullopt;
    return std::string(buffer.data());
}

}  // namespace app
