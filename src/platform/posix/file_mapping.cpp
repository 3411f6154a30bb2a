#include "platform/posix/file_mapping.h"

#include <cerrno>

#include "platform/posix/last_error.h"

namespace platform::posix {

std::byte* FileMapping::Map(std::uint64_t bytes) {
    m_view.Unmap();
    const std::optional<std::uint64_t> available = m_file.Bytes();
    if (!available) return nullptr;
    if (bytes == 0 || bytes > *available) {
        SetLastError(EINVAL);
        return nullptr;
    }
    if (!m_view.Map(m_file.Descriptor(), bytes, m_access)) {
        SetLastError(errno);
        return nullptr;
    }
    return m_view.Begin();
}

}  // namespace platform::posix
