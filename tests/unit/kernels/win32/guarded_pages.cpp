#include "guarded_pages.h"

#include <windows.h>

#include <cstdlib>

GuardedPages::GuardedPages(std::size_t bytes) {
    SYSTEM_INFO system;
    ::GetSystemInfo(&system);
    const std::size_t page = system.dwPageSize;
    m_size = (bytes + page - 1) / page * page;
    m_allBytes = m_size + 2 * page;
    m_all = ::VirtualAlloc(nullptr, m_allBytes, MEM_RESERVE, PAGE_NOACCESS);
    if (m_all == nullptr) {
        std::abort();
    }
    m_begin = static_cast<std::uint8_t*>(m_all) + page;
    if (m_size != 0 && ::VirtualAlloc(m_begin, m_size, MEM_COMMIT, PAGE_READWRITE) == nullptr) {
        std::abort();
    }
}

GuardedPages::~GuardedPages() {
    ::VirtualFree(m_all, 0, MEM_RELEASE);
}
