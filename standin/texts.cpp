#include "standin/texts.h"

#include <system_error>
#include <type_traits>

namespace standin {
namespace {

void AppendUtf8(std::string& out, char32_t code) {
    const auto append = [&out](char32_t byte) { out.push_back(static_cast<char>(byte)); };
    if (code < 0x80) {
        append(code);
    } else if (code < 0x800) {
        append(0xC0 | (code >> 6));
        append(0x80 | (code & 0x3F));
    } else if (code < 0x10000) {
        append(0xE0 | (code >> 12));
        append(0x80 | ((code >> 6) & 0x3F));
        append(0x80 | (code & 0x3F));
    } else {
        append(0xF0 | (code >> 18));
        append(0x80 | ((code >> 12) & 0x3F));
        append(0x80 | ((code >> 6) & 0x3F));
        append(0x80 | (code & 0x3F));
    }
}

bool IsHighHalf(char32_t unit) {
    return unit >= 0xD800 && unit < 0xDC00;
}
bool IsLowHalf(char32_t unit) {
    return unit >= 0xDC00 && unit < 0xE000;
}

}  // namespace

std::string Utf8(const std::filesystem::path& path) {
    const std::u8string text = path.u8string();
    return {text.begin(), text.end()};
}

std::string Utf8FromWide(std::wstring_view text) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        auto code = static_cast<char32_t>(text[i]);
        if (IsHighHalf(code) && i + 1 < text.size() && IsLowHalf(static_cast<char32_t>(text[i + 1]))) {
            code = 0x10000 + ((code - 0xD800) << 10) + (static_cast<char32_t>(text[i + 1]) - 0xDC00);
            ++i;
        }
        if (IsHighHalf(code) || IsLowHalf(code) || code > 0x10FFFF) code = 0xFFFD;
        AppendUtf8(out, code);
    }
    return out;
}

std::filesystem::path PathOf(std::string_view text) {
    try {
        std::filesystem::path path(std::u8string(text.begin(), text.end()));
        std::error_code error;
        if (std::filesystem::exists(path, error)) return path;
    } catch (const std::system_error&) {  // it isn't UTF-8
    }
    return {std::string(text)};
}

std::filesystem::path PathOfWide(std::wstring_view text) {
    if constexpr (std::is_same_v<std::filesystem::path::value_type, wchar_t>) return {std::wstring(text)};
    const std::string utf8 = Utf8FromWide(text);
    return {std::u8string(utf8.begin(), utf8.end())};
}

std::string DimsText(const std::vector<std::uint64_t>& dims) {
    if (dims.empty()) return "no dimensions";
    std::string text;
    for (const std::uint64_t dim : dims) {
        if (!text.empty()) text += 'x';
        text += std::to_string(dim);
    }
    return text;
}

}  // namespace standin
