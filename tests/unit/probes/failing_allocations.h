#pragma once

#include <cstddef>

// While it lives, allocations of this thread from `bytes` on fail. For programs that have failing_allocations.cpp among
// their sources: it replaces the allocation functions.
class FailingAllocations {
 public:
    explicit FailingAllocations(std::size_t bytes);
    FailingAllocations(const FailingAllocations&) = delete;
    FailingAllocations& operator=(const FailingAllocations&) = delete;
    ~FailingAllocations();
};
