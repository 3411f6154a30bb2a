#pragma once

#include <cstdint>

namespace platform::posix {

// The number of the calling thread's latest failure with a named object or a library, an errno value. Only failures write it, so
// closing objects keeps it.
std::uint32_t LastError();
void SetLastError(int error);

}  // namespace platform::posix
