#include <unistd.h>

#include "platform/threads.h"

namespace platform {

std::uint32_t CurrentThreadId() {
    return static_cast<std::uint32_t>(::gettid());
}

std::uint32_t CurrentProcessId() {
    return static_cast<std::uint32_t>(::getpid());
}

}  // namespace platform
