#include "allocation_counter.h"

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

std::atomic<std::int64_t> g_allocations = 0;
std::atomic<std::int64_t> g_frees = 0;

void* AllocateOrNull(std::size_t bytes, std::size_t alignment) noexcept {
    const std::size_t size = (bytes + alignment - 1) / alignment * alignment;
    void* const memory = std::aligned_alloc(alignment, size == 0 ? alignment : size);
    if (memory != nullptr) ++g_allocations;
    return memory;
}

void* Allocate(std::size_t bytes, std::size_t alignment) {
    void* const memory = AllocateOrNull(bytes, alignment);
    if (memory == nullptr) throw std::bad_alloc();
    return memory;
}

void Free(void* memory) {
    if (memory != nullptr) ++g_frees;
    std::free(memory);
}

}  // namespace

void* operator new(std::size_t bytes) {
    return Allocate(bytes, alignof(std::max_align_t));
}
void* operator new[](std::size_t bytes) {
    return Allocate(bytes, alignof(std::max_align_t));
}
void* operator new(std::size_t bytes, std::align_val_t alignment) {
    return Allocate(bytes, static_cast<std::size_t>(alignment));
}
void* operator new[](std::size_t bytes, std::align_val_t alignment) {
    return Allocate(bytes, static_cast<std::size_t>(alignment));
}
void* operator new(std::size_t bytes, const std::nothrow_t& /*tag*/) noexcept {
    return AllocateOrNull(bytes, alignof(std::max_align_t));
}
void* operator new[](std::size_t bytes, const std::nothrow_t& /*tag*/) noexcept {
    return AllocateOrNull(bytes, alignof(std::max_align_t));
}
void operator delete(void* memory) noexcept {
    Free(memory);
}
void operator delete[](void* memory) noexcept {
    Free(memory);
}
void operator delete(void* memory, std::size_t /*bytes*/) noexcept {
    Free(memory);
}
void operator delete[](void* memory, std::size_t /*bytes*/) noexcept {
    Free(memory);
}
void operator delete(void* memory, const std::nothrow_t& /*tag*/) noexcept {
    Free(memory);
}
void operator delete[](void* memory, const std::nothrow_t& /*tag*/) noexcept {
    Free(memory);
}
void operator delete[](void* memory, std::align_val_t /*alignment*/) noexcept {
    Free(memory);
}
void operator delete[](void* memory, std::size_t /*bytes*/, std::align_val_t /*alignment*/) noexcept {
    Free(memory);
}
void operator delete(void* memory, std::align_val_t /*alignment*/) noexcept {
    Free(memory);
}
void operator delete(void* memory, std::size_t /*bytes*/, std::align_val_t /*alignment*/) noexcept {
    Free(memory);
}

namespace standin_support {

std::int64_t AllocationCount() {
    return g_allocations;
}

std::int64_t LiveAllocationCount() {
    return g_allocations - g_frees;
}

}  // namespace standin_support
