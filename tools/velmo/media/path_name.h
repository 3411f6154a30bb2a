#pragma once

#include <filesystem>
#include <string>

// Paths as texts in UTF-8, on every system.
namespace velmo_media {

inline std::string NameOf(const std::filesystem::path& path) {
    const std::u8string text = path.u8string();
    return {text.begin(), text.end()};
}

inline std::filesystem::path PathOf(const std::string& text) {
    return std::u8string(text.begin(), text.end());
}

}  // namespace velmo_media
