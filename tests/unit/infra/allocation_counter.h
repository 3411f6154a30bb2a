#pragma once

#include <cstdint>

// Calls of the allocation functions on this thread so far.
std::int64_t AllocationCount();
