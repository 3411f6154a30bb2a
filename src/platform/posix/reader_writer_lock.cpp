#include "platform/reader_writer_lock.h"

namespace platform {

void ReaderWriterLock::lock() {
    m_lock.lock();
}
void ReaderWriterLock::unlock() {
    m_lock.unlock();
}
void ReaderWriterLock::lock_shared() {
    m_lock.lock_shared();
}
void ReaderWriterLock::unlock_shared() {
    m_lock.unlock_shared();
}

}  // namespace platform
