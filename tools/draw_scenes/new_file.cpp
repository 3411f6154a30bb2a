#include "draw_scenes_tool/new_file.h"

#include <filesystem>
#include <utility>

namespace draw_scenes {

std::optional<NewFile> NewFile::Open(const std::string& path, IfThere ifThere) {
    std::error_code ignored;  // a path that can't be looked at can't be opened either
    if (ifThere == IfThere::Keep && std::filesystem::exists(path, ignored)) return std::nullopt;
    std::ofstream stream(path, std::ios::binary | std::ios::trunc);
    if (!stream.is_open()) return std::nullopt;
    return NewFile(std::move(stream));
}

NewFile::NewFile(std::ofstream stream) : m_stream(std::move(stream)) {}

bool NewFile::Take(const std::string& bytes) {
    m_stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    m_stream.flush();
    return m_stream.good();
}

}  // namespace draw_scenes
