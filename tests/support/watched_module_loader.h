#pragma once

#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "platform/module_loader.h"

namespace support {

// The system's loader, with a record of what it did, and failures on demand. Thread: any; the settings before others
// use it.
class WatchedModuleLoader final : public platform::ModuleLoader {
 public:
    static constexpr std::uint32_t kRefused = 5;  // the error number of what fails on demand

    // Narrow paths can't be loaded any more.
    void RefuseNarrowLoads() { m_refusesNarrow = true; }
    // This name can't be found any more, in any library.
    void Hide(std::string name) { m_hidden.insert(std::move(name)); }

    // The machine seems to be one of this architecture from now on.
    void SetNativeArchitecture(std::uint16_t architecture) { m_architecture = architecture; }

    // Called before each Unload, with nothing locked.
    void BeforeUnload(std::function<void()> happens) { m_beforeUnload = std::move(happens); }

    // "LoadA", "LoadW" and "Unload", failed ones included, in order.
    std::vector<std::string> Loads() const {
        const std::lock_guard lock(m_mutex);
        return m_loads;
    }

    // The names that were looked up, in order.
    std::vector<std::string> Symbols() const {
        const std::lock_guard lock(m_mutex);
        return m_symbols;
    }

    std::uint32_t FullPath(const std::string& path, char* buffer, std::uint32_t capacity) override {
        return m_system.FullPath(path, buffer, capacity);
    }

    std::uint32_t FullPath(const std::wstring& path, wchar_t* buffer, std::uint32_t capacity) override {
        return m_system.FullPath(path, buffer, capacity);
    }

    platform::ModuleHandle Load(const std::string& path, std::uint32_t flags) override {
        Note(m_loads, "LoadA");
        if (!m_refusesNarrow) return m_system.Load(path, flags);
        m_system.SetLastError(kRefused);
        return nullptr;
    }

    platform::ModuleHandle Load(const std::wstring& path, std::uint32_t flags) override {
        Note(m_loads, "LoadW");
        return m_system.Load(path, flags);
    }

    platform::SymbolAddress Symbol(platform::ModuleHandle module, const char* name) override {
        Note(m_symbols, name);
        if (m_hidden.count(name) == 0) return m_system.Symbol(module, name);
        m_system.SetLastError(kRefused);
        return nullptr;
    }

    void Unload(platform::ModuleHandle module) override {
        if (m_beforeUnload) m_beforeUnload();
        Note(m_loads, "Unload");
        m_system.Unload(module);
    }

    bool CurrentDirectory(char* buffer, int capacity) override { return m_system.CurrentDirectory(buffer, capacity); }
    std::uint16_t NativeArchitecture() override { return m_architecture.value_or(m_system.NativeArchitecture()); }
    std::uint32_t LastError() const override { return m_system.LastError(); }
    void SetLastError(std::uint32_t error) override { m_system.SetLastError(error); }

 private:
    void Note(std::vector<std::string>& list, std::string what) {
        const std::lock_guard lock(m_mutex);
        list.push_back(std::move(what));
    }

    platform::ModuleLoader& m_system = platform::SystemModuleLoader();
    bool m_refusesNarrow = false;
    std::set<std::string> m_hidden;
    std::optional<std::uint16_t> m_architecture;
    std::function<void()> m_beforeUnload;
    mutable std::mutex m_mutex;
    std::vector<std::string> m_loads;
    std::vector<std::string> m_symbols;
};

}  // namespace support
