#include "platform/file_views.h"

namespace platform {

std::filesystem::file_status FileViews::Status(const std::filesystem::path& path, std::error_code& error) {
    return std::filesystem::status(path, error);
}

}  // namespace platform
