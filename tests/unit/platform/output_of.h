#pragma once

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "contract/object_names.h"
#include "contract/own_child.h"

// A file that goes with the test.
class TemporaryFile {
 public:
    TemporaryFile() = default;
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile() {
        std::error_code ignored;  // Windows keeps a file that somebody has open
        std::filesystem::remove(m_path, ignored);
    }

    const std::string& Path() const { return m_path; }

    // Its bytes as they are.
    std::string Content() const {
        const std::ifstream file(m_path, std::ios::binary);
        std::ostringstream content;
        content << file.rdbuf();
        return content.str();
    }

 private:
    std::string m_path = (std::filesystem::temp_directory_path() / contract::FreshName(".txt")).string();
};

// What a child with this role writes to its standard output. Expects it to end with 0.
inline std::string OutputOf(const std::string& tail,
                            const std::vector<std::pair<std::string, std::string>>& environment = {}) {
    const TemporaryFile file;
    contract::OwnChild child(platform::ChildStart{contract::OwnProgram(), tail, environment, file.Path(), {}});
    EXPECT_EQ(child.EndCode(), 0);
    return file.Content();
}
