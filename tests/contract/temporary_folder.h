#pragma once

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "contract/object_names.h"
#include "platform/file_views.h"

namespace contract {

// The path as wide text, whatever bytes it holds.
inline std::wstring WideOf(const std::filesystem::path& path) {
    if (OnWindows()) return path.wstring();
    return platform::SystemFileViews().WidePath(path.string()).value();
}

// A folder that goes with the test, and all that is in it.
class TemporaryFolder {
 public:
    TemporaryFolder() {
        // Process ids come again, and an earlier process may have been killed before it could tidy up.
        std::filesystem::remove_all(m_path);
        create_directories(m_path);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder() {
        std::error_code ignored;  // Windows keeps a file that somebody has open
        std::filesystem::remove_all(m_path, ignored);
    }

    const std::filesystem::path& Path() const { return m_path; }

    // Where the new file stands.
    std::filesystem::path Write(const std::filesystem::path& name, const std::string& content) const {
        std::ofstream(m_path / name, std::ios::binary) << content;
        return m_path / name;
    }

 private:
    // Without links on the way, as the current directory has none either.
    std::filesystem::path m_path = canonical(std::filesystem::temp_directory_path()) / FreshName("-folder");
};

// The bytes of a file.
inline std::string ContentOf(const std::filesystem::path& path) {
    const std::ifstream file(path, std::ios::binary);
    std::ostringstream content;
    content << file.rdbuf();
    return content.str();
}

// Makes a folder the current one until the end of the scope.
class CurrentFolder {
 public:
    explicit CurrentFolder(const std::filesystem::path& folder) { current_path(folder); }
    CurrentFolder(const CurrentFolder&) = delete;
    CurrentFolder& operator=(const CurrentFolder&) = delete;
    ~CurrentFolder() { current_path(m_before); }

 private:
    std::filesystem::path m_before = std::filesystem::current_path();
};

}  // namespace contract
