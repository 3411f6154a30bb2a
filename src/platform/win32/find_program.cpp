#include "platform/find_program.h"

#include <windows.h>

#include <array>

#include "platform/win32/wide_text.h"

namespace platform {

std::optional<std::string> FindProgram(const std::string& name) {
    std::array<wchar_t, 1024> path{};
    const DWORD length = ::SearchPathW(nullptr, win32::ToWide(CP_UTF8, name).c_str(), L".exe",
                                       static_cast<DWORD>(path.size()), path.data(), nullptr);
    if (length == 0 || length >= path.size()) return std::nullopt;
    return win32::ToBytes(CP_UTF8, path.data());
}

}  // namespace platform
