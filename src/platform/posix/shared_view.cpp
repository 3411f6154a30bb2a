#include "platform/posix/shared_view.h"

#include <sys/mman.h>

#include <cerrno>

namespace platform::posix {

bool SharedView::Map(int file, std::uint64_t bytes, MappingAccess access) {
    Unmap();
    const int protection = access == MappingAccess::ReadOnly ? PROT_READ : PROT_READ | PROT_WRITE;
    void* const begin = ::mmap(nullptr, bytes, protection, MAP_SHARED, file, 0);
    if (begin == MAP_FAILED) return false;
    m_begin = static_cast<std::byte*>(begin);
    m_bytes = bytes;
    return true;
}

void SharedView::Unmap() {
    if (m_begin == nullptr) return;
    const int error = errno;
    ::munmap(m_begin, m_bytes);
    errno = error;
    m_begin = nullptr;
    m_bytes = 0;
}

}  // namespace platform::posix
