#include "platform/posix/last_error.h"

namespace platform::posix {
namespace {

thread_local std::uint32_t t_lastError = 0;

}  // namespace

std::uint32_t LastError() {
    return t_lastError;
}

void SetLastError(int error) {
    t_lastError = static_cast<std::uint32_t>(error);
}

}  // namespace platform::posix
