#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "platform/machine.h"
#include "support/fake_processors.h"
#include "support/fake_releases.h"

namespace support {

// Keys by their path, each with numbers by their names. Thread: one at a time.
class FakeRegistryKeys final : public platform::RegistryKeys {
 public:
    explicit FakeRegistryKeys(CallLog& log) : m_log(log) {}

    void Put(const std::wstring& path, const std::map<std::wstring, std::uint32_t>& numbers) { m_keys[path] = numbers; }

    std::unique_ptr<platform::RegistryKey> OpenMachineKey(const std::wstring& path, std::uint32_t accessMask) override {
        m_log.push_back("OpenKey " + PlainText(path) + " " + std::to_string(accessMask));
        const auto found = m_keys.find(path);
        if (found == m_keys.end()) return nullptr;
        return std::make_unique<Key>(found->second, m_log);
    }

 private:
    class Key final : public platform::RegistryKey {
     public:
        Key(std::map<std::wstring, std::uint32_t> numbers, CallLog& log) : m_numbers(std::move(numbers)), m_log(log) {}
        Key(const Key&) = delete;
        Key& operator=(const Key&) = delete;
        ~Key() override { m_log.emplace_back("CloseKey"); }

        bool ReadNumber(const std::wstring& name, std::uint32_t& number) override {
            m_log.push_back("ReadNumber " + PlainText(name) + " " + std::to_string(number));
            const auto found = m_numbers.find(name);
            if (found == m_numbers.end()) return false;
            number = found->second;
            return true;
        }

     private:
        std::map<std::wstring, std::uint32_t> m_numbers;
        CallLog& m_log;
    };

    CallLog& m_log;
    std::map<std::wstring, std::map<std::wstring, std::uint32_t>> m_keys;
};

class FakeInstalledMemory final : public platform::InstalledMemory {
 public:
    std::uint64_t totalBytes = 0;

    std::uint64_t TotalBytes() override { return totalBytes; }
};

// A whole machine that is made up, with one log of the calls to all its parts. Thread: one at a time.
class FakeMachine {
 public:
    static constexpr wchar_t kProcessorKey[] = L"HARDWARE\\DESCRIPTION\\System\\CentralProcessor\\0";

    CallLog log;
    FakeReleases releases{log};
    FakeProcessors processors{log};
    FakeRegistryKeys registry{log};
    FakeInstalledMemory memory;

    // What the system keeps as the processor's frequency.
    void SetMhz(std::uint32_t mhz) { registry.Put(kProcessorKey, {{L"~MHz", mhz}}); }

    // So many cores in the system's list, 64 at most, of one logical processor each.
    void SetCores(std::uint32_t cores) {
        std::vector<platform::ProcessorRelation> records(cores);
        for (std::uint32_t core = 0; core < cores; ++core)
            records[core].processorMask = std::uint64_t{1} << core;
        processors.SetList(records);
    }

    platform::Machine Parts() { return {releases, releases, processors, processors, processors, registry, memory}; }
};

}  // namespace support
