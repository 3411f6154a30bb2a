#include "engine/file_exists.h"

#include <optional>

namespace hvq::util {

bool FileExists(const std::string& path, const LoaderSeams& seams) noexcept {
    try {
        const std::optional<std::wstring> wide = seams.files.WidePath(path);
        return wide && seams.files.Exists(*wide);
    } catch (...) {
        return false;
    }
}

bool FileExists(const std::wstring& path, const LoaderSeams& seams) noexcept {
    try {
        return seams.files.Exists(path);
    } catch (...) {
        return false;
    }
}

}  // namespace hvq::util
