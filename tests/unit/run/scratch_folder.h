#pragma once

#include <atomic>
#include <filesystem>
#include <string>
#include <system_error>

#include "platform/threads.h"

namespace run_tests {

// A new and empty folder; it goes with the object, and all that is in it.
class ScratchFolder {
 public:
    ScratchFolder() {
        static std::atomic<int> count{0};
        m_path = std::filesystem::temp_directory_path() /
                 ("velmo-run-tests-" + std::to_string(platform::CurrentProcessId()) + "-" + std::to_string(++count));
        std::filesystem::create_directories(m_path);
    }
    ~ScratchFolder() {
        std::error_code error;
        std::filesystem::remove_all(m_path, error);
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    const std::filesystem::path& Path() const { return m_path; }
    // A name in it, UTF-8.
    std::string At(const std::string& name) const {
        const std::u8string text = (m_path / name).u8string();
        return {text.begin(), text.end()};
    }

 private:
    std::filesystem::path m_path;
};

}  // namespace run_tests
