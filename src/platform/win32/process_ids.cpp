#include <windows.h>

#include "platform/threads.h"

namespace platform {

std::uint32_t CurrentThreadId() {
    return ::GetCurrentThreadId();
}

std::uint32_t CurrentProcessId() {
    return ::GetCurrentProcessId();
}

}  // namespace platform
