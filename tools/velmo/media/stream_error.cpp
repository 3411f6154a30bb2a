#include "velmo_media/stream_error.h"

#include <cerrno>
#include <system_error>

namespace velmo_media {

std::string WriteFailure(const std::string& name) {
    const int reason = errno;
    const std::string text = "can't write " + name;
    return reason == 0 ? text : text + ": " + std::generic_category().message(reason);
}

}  // namespace velmo_media
