#pragma once

#ifndef _WIN32
#include <shared_mutex>
#endif

namespace platform {

// A readers-writer lock that needs no set-up at run time, so a global can hold one before the entry point.
// Not recursive. Works with std::shared_lock and std::unique_lock. Thread: any.
class ReaderWriterLock {
 public:
    constexpr ReaderWriterLock() noexcept = default;
    ReaderWriterLock(const ReaderWriterLock&) = delete;
    ReaderWriterLock& operator=(const ReaderWriterLock&) = delete;

    void lock();
    void unlock();
    void lock_shared();
    void unlock_shared();

 private:
#ifdef _WIN32
    void* m_lock = nullptr;  // a slim reader/writer lock is one pointer, and null is its unlocked state
#else
    std::shared_mutex m_lock;
#endif
};

}  // namespace platform
