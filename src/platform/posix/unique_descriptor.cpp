#include "platform/posix/unique_descriptor.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

namespace platform::posix {

UniqueDescriptor& UniqueDescriptor::operator=(UniqueDescriptor&& other) noexcept {
    Reset(other.Release());
    return *this;
}

int UniqueDescriptor::Release() noexcept {
    const int descriptor = m_descriptor;
    m_descriptor = kNone;
    return descriptor;
}

void UniqueDescriptor::Reset(int next) noexcept {
    if (m_descriptor != kNone) {
        const int error = errno;
        ::close(m_descriptor);  // never repeated: Linux has let go of the number even when it reports EINTR
        errno = error;
    }
    m_descriptor = next;
}

UniqueDescriptor AboveStreams(UniqueDescriptor descriptor) {
    if (!descriptor || descriptor.Get() > STDERR_FILENO) return descriptor;
    return UniqueDescriptor(::fcntl(descriptor.Get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
}

}  // namespace platform::posix
