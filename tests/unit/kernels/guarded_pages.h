#pragma once

#include <cstddef>
#include <cstdint>

// Memory between two pages that nobody may touch: an access before its first or behind its last byte ends the program,
// with or without a sanitizer. Zero-filled. Thread: any.
class GuardedPages {
 public:
    // At least `bytes` are there; whole pages, so Size can be more.
    explicit GuardedPages(std::size_t bytes);
    ~GuardedPages();
    GuardedPages(const GuardedPages&) = delete;
    GuardedPages& operator=(const GuardedPages&) = delete;

    std::uint8_t* Begin() const { return m_begin; }
    std::size_t Size() const { return m_size; }

 private:
    void* m_all;             // with both guards
    std::size_t m_allBytes;  // likewise
    std::uint8_t* m_begin;
    std::size_t m_size;
};
