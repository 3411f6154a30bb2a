#include "engine/file_exists.h"

#include <optional>
#include <system_error>

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

bool PathExists(const std::filesystem::path& path, const LoaderSeams& seams) {
    std::error_code error;
    const std::filesystem::file_status status = seams.files.Status(path, error);
    if (!std::filesystem::status_known(status)) throw std::filesystem::filesystem_error("exists", path, error);
    return std::filesystem::exists(status);
}

}  // namespace hvq::util
