#pragma once

#include <cstddef>
#include <cstdint>

// For programs that have allocation_counter.cpp among their sources: it replaces the allocation functions.

// Calls of those functions on this thread so far.
std::int64_t AllocationCount();

// While it lives, this thread's allocations of so many bytes and more fail. One at a time.
class FailingAllocations {
 public:
    explicit FailingAllocations(std::size_t bytes);
    FailingAllocations(const FailingAllocations&) = delete;
    FailingAllocations& operator=(const FailingAllocations&) = delete;
    ~FailingAllocations();
};
