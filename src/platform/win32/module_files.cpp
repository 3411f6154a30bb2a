#include "platform/module_files.h"

#include <windows.h>

#include <array>

#include "platform/win32/wide_text.h"

namespace platform {
namespace {

class LoadedModules final : public ModuleFiles {
 public:
    std::optional<std::string> FileOf(const void* address) override {
        if (address == nullptr) return std::nullopt;
        constexpr DWORD kFlags = GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
        static_assert(kFlags == 6);
        HMODULE module = nullptr;
        // With that flag the call takes an address where it otherwise takes a name.
        const auto* const place = static_cast<const wchar_t*>(address);
        if (::GetModuleHandleExW(kFlags, place, &module) == 0) return std::nullopt;
        std::array<wchar_t, MAX_PATH> name{};
        static_assert(MAX_PATH == 260);
        if (::GetModuleFileNameW(module, name.data(), static_cast<DWORD>(name.size())) == 0) return std::nullopt;
        name.back() = L'\0';  // a name that was cut has no terminator on old systems
        return win32::ToBytes(CP_UTF8, name.data());
    }
};

}  // namespace

ModuleFiles& SystemModuleFiles() {
    static LoadedModules& modules = *new LoadedModules;  // never destroyed: destructors of globals may still come here
    return modules;
}

}  // namespace platform
