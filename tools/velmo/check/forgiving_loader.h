#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/module_loader.h"

namespace velmo_tool {

// The system's loader, but a name that a library lacks is written down instead of missed: all that are missing can be
// told at once. The address given in its place must not be called. Thread: one at a time.
class ForgivingLoader final : public platform::ModuleLoader {
 public:
    explicit ForgivingLoader(platform::ModuleLoader& system) : m_system(system) {}

    // In the order in which they were asked for.
    const std::vector<std::string>& Missing() const { return m_missing; }

    std::uint32_t FullPath(const std::string& path, char* buffer, std::uint32_t capacity) override {
        return m_system.FullPath(path, buffer, capacity);
    }
    std::uint32_t FullPath(const std::wstring& path, wchar_t* buffer, std::uint32_t capacity) override {
        return m_system.FullPath(path, buffer, capacity);
    }
    platform::ModuleHandle Load(const std::string& path, std::uint32_t flags) override {
        return m_system.Load(path, flags);
    }
    platform::ModuleHandle Load(const std::wstring& path, std::uint32_t flags) override {
        return m_system.Load(path, flags);
    }
    platform::SymbolAddress Symbol(platform::ModuleHandle module, const char* name) override {
        if (const platform::SymbolAddress address = m_system.Symbol(module, name)) return address;
        m_missing.emplace_back(name);
        return [] {};
    }
    void Unload(platform::ModuleHandle module) override { m_system.Unload(module); }
    bool CurrentDirectory(char* buffer, int capacity) override { return m_system.CurrentDirectory(buffer, capacity); }
    std::uint16_t NativeArchitecture() override { return m_system.NativeArchitecture(); }
    std::uint32_t LastError() const override { return m_system.LastError(); }
    void SetLastError(std::uint32_t error) override { m_system.SetLastError(error); }

 private:
    platform::ModuleLoader& m_system;
    std::vector<std::string> m_missing;
};

}  // namespace velmo_tool
