#include "support/allocation_counter.h"

#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

thread_local std::int64_t t_allocationCount = 0;
thread_local std::size_t t_firstThatFails = SIZE_MAX;

void* Allocate(std::size_t bytes) {
    ++t_allocationCount;
    void* const memory = bytes >= t_firstThatFails ? nullptr : std::malloc(bytes == 0 ? 1 : bytes);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

}  // namespace

std::int64_t AllocationCount() {
    return t_allocationCount;
}

FailingAllocations::FailingAllocations(std::size_t bytes) {
    t_firstThatFails = bytes;
}

FailingAllocations::~FailingAllocations() {
    t_firstThatFails = SIZE_MAX;
}

void* operator new(std::size_t bytes) {
    return Allocate(bytes);
}
void* operator new[](std::size_t bytes) {
    return Allocate(bytes);
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete[](void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t /*bytes*/) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, std::size_t /*bytes*/) noexcept {
    std::free(memory);
}
