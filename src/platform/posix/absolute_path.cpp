#include "platform/posix/absolute_path.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <filesystem>
#include <string_view>
#include <system_error>

#include "platform/posix/last_error.h"

namespace platform::posix {
namespace {

// `folder` is absolute, begins with a separator and has none at its end.
void GoUp(std::string& folder) {
    if (folder.empty()) return;  // the root is its own parent
    std::error_code ignored;
    const bool keeps = folder.ends_with("/..") || std::filesystem::is_symlink(folder, ignored);
    if (keeps) {
        folder += "/..";
    } else {
        folder.resize(folder.rfind('/'));
    }
}

}  // namespace

std::string AbsolutePath(const std::string& path) {
    const std::string_view given = path.c_str();  // as the system reads it
    if (given.empty()) {
        SetLastError(ENOENT);
        return {};
    }
    std::string whole;
    if (!given.starts_with('/')) {
        std::error_code error;
        whole = std::filesystem::current_path(error).string();
        if (error) {
            SetLastError(error.value());
            return {};
        }
        whole += '/';
    }
    whole += given;

    std::string folded;
    for (std::size_t from = 0; from < whole.size();) {
        const std::size_t end = std::min(whole.find('/', from), whole.size());
        const std::string_view step = std::string_view(whole).substr(from, end - from);
        from = end + 1;
        if (step.empty() || step == ".") continue;
        if (step == "..") {
            GoUp(folded);
        } else {
            folded.append("/").append(step);
        }
    }
    if (folded.empty() || given.ends_with('/')) folded += '/';
    return folded;
}

}  // namespace platform::posix
