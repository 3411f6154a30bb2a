#pragma once

#include <cstddef>
#include <span>

#include "guarded_pages.h"

enum class Guard { Before, Behind };

// An array that begins right behind a guarded page, or ends right before one: at any address that its element allows,
// and so mostly not at a vector's alignment.
template <class T>
class GuardedArray {
 public:
    GuardedArray(std::size_t count, Guard guard)
        : m_pages(count * sizeof(T)), m_count(count), m_offset(guard == Guard::Before ? 0 : Room(count)) {}

    T* Data() const {
        void* const data = m_pages.Begin() + m_offset;
        return static_cast<T*>(data);
    }
    std::size_t Count() const { return m_count; }
    std::span<T> Span() const { return {Data(), m_count}; }

 private:
    std::size_t Room(std::size_t count) const { return m_pages.Size() - count * sizeof(T); }

    GuardedPages m_pages;
    std::size_t m_count;
    std::size_t m_offset;
};
