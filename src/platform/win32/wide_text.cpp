#include "platform/win32/wide_text.h"

#include <windows.h>

#include <array>

namespace platform::win32 {

std::wstring ToWide(unsigned codePage, const std::string& text) {
    const int count = ::MultiByteToWideChar(codePage, 0, text.c_str(), -1, nullptr, 0);
    if (count <= 0) return {};
    std::wstring result(static_cast<std::size_t>(count), L'\0');
    ::MultiByteToWideChar(codePage, 0, text.c_str(), -1, result.data(), count);
    result.pop_back();  // the terminator
    return result;
}

std::string ToBytes(unsigned codePage, const wchar_t* text) {
    const int count = ::WideCharToMultiByte(codePage, 0, text, -1, nullptr, 0, nullptr, nullptr);
    if (count <= 0) return {};
    std::string result(static_cast<std::size_t>(count), '\0');
    ::WideCharToMultiByte(codePage, 0, text, -1, result.data(), count, nullptr, nullptr);
    result.pop_back();
    return result;
}

std::string ErrorText(unsigned long error) {
    std::array<wchar_t, 512> buffer{};
    constexpr DWORD kFlags = FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_MAX_WIDTH_MASK;
    ::FormatMessageW(kFlags, nullptr, error, 0, buffer.data(), static_cast<DWORD>(buffer.size() - 1), nullptr);
    std::string text = ToBytes(CP_UTF8, buffer.data());
    while (!text.empty() && text.back() == ' ')
        text.pop_back();
    return text.empty() ? "error " + std::to_string(error) : text;
}

}  // namespace platform::win32
