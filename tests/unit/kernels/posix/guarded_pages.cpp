#include "guarded_pages.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>

GuardedPages::GuardedPages(std::size_t bytes) {
    const std::size_t page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
    m_size = (bytes + page - 1) / page * page;
    m_allBytes = m_size + 2 * page;
    m_all = ::mmap(nullptr, m_allBytes, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (m_all == MAP_FAILED) {
        std::abort();
    }
    m_begin = static_cast<std::uint8_t*>(m_all) + page;
    if (m_size != 0 && ::mprotect(m_begin, m_size, PROT_READ | PROT_WRITE) != 0) {
        std::abort();
    }
}

GuardedPages::~GuardedPages() {
    ::munmap(m_all, m_allBytes);
}
