#pragma once

#include <cstdint>

// Calls of the allocation functions on this thread so far. For programs that have allocation_counter.cpp among their
// sources: it replaces those functions.
std::int64_t AllocationCount();
