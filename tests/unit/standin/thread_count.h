#pragma once

#include <cstddef>

namespace standin_support {

// The threads of this program that run now. One that has been joined does not count, though the system may still list
// it for a moment.
std::ptrdiff_t ThreadCount();

}  // namespace standin_support
