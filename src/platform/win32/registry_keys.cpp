#include "platform/registry_keys.h"

#include <windows.h>

namespace platform {
namespace {

class OpenKey final : public RegistryKey {
 public:
    explicit OpenKey(HKEY key) : m_key(key) {}
    OpenKey(const OpenKey&) = delete;
    OpenKey& operator=(const OpenKey&) = delete;
    ~OpenKey() override { ::RegCloseKey(m_key); }

    bool ReadNumber(const std::wstring& name, std::uint32_t& number) override {
        DWORD bytes = sizeof(number);
        auto* const data = reinterpret_cast<BYTE*>(&number);
        return ::RegQueryValueExW(m_key, name.c_str(), nullptr, nullptr, data, &bytes) == ERROR_SUCCESS &&
               bytes == sizeof(number);
    }

 private:
    HKEY m_key;
};

class Registry final : public RegistryKeys {
 public:
    std::unique_ptr<RegistryKey> OpenMachineKey(const std::wstring& path, std::uint32_t accessMask) override {
        HKEY key = nullptr;
        if (::RegOpenKeyExW(HKEY_LOCAL_MACHINE, path.c_str(), 0, accessMask, &key) != ERROR_SUCCESS) return nullptr;
        return std::make_unique<OpenKey>(key);
    }
};

}  // namespace

RegistryKeys& SystemRegistryKeys() {
    static Registry& registry = *new Registry;  // never destroyed: destructors of globals may still come here
    return registry;
}

}  // namespace platform
