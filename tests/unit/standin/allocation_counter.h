#pragma once

#include <cstdint>

namespace standin_support {

// Calls of operator new so far, by all threads of the program and by the libraries that take the operator from it.
std::int64_t AllocationCount();

// Those of them whose memory hasn't been given back.
std::int64_t LiveAllocationCount();

}  // namespace standin_support
