#include "platform/module_loader.h"

#include <direct.h>
#include <windows.h>

namespace platform {
namespace {

static_assert(kSearchByAlteredPath == LOAD_WITH_ALTERED_SEARCH_PATH);
static_assert(kInvalidParameter == ERROR_INVALID_PARAMETER);
static_assert(kArchitectureArm == PROCESSOR_ARCHITECTURE_ARM && kArchitectureIa64 == PROCESSOR_ARCHITECTURE_IA64 &&
              kArchitectureAmd64 == PROCESSOR_ARCHITECTURE_AMD64);

class KernelModuleLoader final : public ModuleLoader {
 public:
    std::uint32_t FullPath(const std::string& path, char* buffer, std::uint32_t capacity) override {
        return ::GetFullPathNameA(path.c_str(), capacity, buffer, nullptr);
    }

    std::uint32_t FullPath(const std::wstring& path, wchar_t* buffer, std::uint32_t capacity) override {
        return ::GetFullPathNameW(path.c_str(), capacity, buffer, nullptr);
    }

    ModuleHandle Load(const std::string& path, std::uint32_t flags) override {
        return ::LoadLibraryExA(path.c_str(), nullptr, flags);
    }

    ModuleHandle Load(const std::wstring& path, std::uint32_t flags) override {
        return ::LoadLibraryExW(path.c_str(), nullptr, flags);
    }

    SymbolAddress Symbol(ModuleHandle module, const char* name) override {
        return reinterpret_cast<SymbolAddress>(::GetProcAddress(static_cast<HMODULE>(module), name));
    }

    void Unload(ModuleHandle module) override { ::FreeLibrary(static_cast<HMODULE>(module)); }

    bool CurrentDirectory(char* buffer, int capacity) override { return ::_getcwd(buffer, capacity) != nullptr; }

    std::uint16_t NativeArchitecture() override {
        SYSTEM_INFO info{};
        ::GetNativeSystemInfo(&info);
        return info.wProcessorArchitecture;
    }

    std::uint32_t LastError() const override { return ::GetLastError(); }

    void SetLastError(std::uint32_t error) override { ::SetLastError(error); }
};

}  // namespace

ModuleLoader& SystemModuleLoader() {
    static KernelModuleLoader& loader =
        *new KernelModuleLoader;  // never destroyed: destructors of globals may still come here
    return loader;
}

}  // namespace platform
