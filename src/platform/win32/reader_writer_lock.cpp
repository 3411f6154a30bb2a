#include "platform/reader_writer_lock.h"

#include <windows.h>

namespace platform {
namespace {

static_assert(sizeof(SRWLOCK) == sizeof(void*) && alignof(SRWLOCK) == alignof(void*));

// The system's type is a record of this one pointer.
SRWLOCK* AsSystemLock(void*& lock) {
    return reinterpret_cast<SRWLOCK*>(&lock);
}

}  // namespace

void ReaderWriterLock::lock() {
    ::AcquireSRWLockExclusive(AsSystemLock(m_lock));
}
void ReaderWriterLock::unlock() {
    ::ReleaseSRWLockExclusive(AsSystemLock(m_lock));
}
void ReaderWriterLock::lock_shared() {
    ::AcquireSRWLockShared(AsSystemLock(m_lock));
}
void ReaderWriterLock::unlock_shared() {
    ::ReleaseSRWLockShared(AsSystemLock(m_lock));
}

}  // namespace platform
