#pragma once

#include <map>
#include <optional>
#include <string>

#include "platform/module_files.h"

namespace support {

// Modules of one address each. Thread: one at a time.
class FakeModuleFiles final : public platform::ModuleFiles {
 public:
    // `address` lies in the file `path` from now on.
    void Put(const void* address, std::string path) { m_paths[address] = std::move(path); }

    std::optional<std::string> FileOf(const void* address) override {
        const auto found = m_paths.find(address);
        return found == m_paths.end() ? std::nullopt : std::optional(found->second);
    }

 private:
    std::map<const void*, std::string> m_paths;
};

}  // namespace support
