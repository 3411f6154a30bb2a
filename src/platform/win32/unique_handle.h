#pragma once

namespace platform::win32 {

// Owns one handle of the kernel. "None" is null; INVALID_HANDLE_VALUE, which some calls answer instead, is taken as
// none too.
class UniqueHandle {
 public:
    UniqueHandle() noexcept = default;
    explicit UniqueHandle(void* handle) noexcept;
    UniqueHandle(UniqueHandle&& other) noexcept : m_handle(other.Release()) {}
    UniqueHandle& operator=(UniqueHandle&& other) noexcept;
    ~UniqueHandle() { Reset(); }

    void* Get() const noexcept { return m_handle; }
    explicit operator bool() const noexcept { return m_handle != nullptr; }

    // Gives the handle away.
    void* Release() noexcept;

    // Closes what is owned and owns `next` from here on. The thread's last error stays as it was.
    void Reset(void* next = nullptr) noexcept;

 private:
    void* m_handle = nullptr;
};

}  // namespace platform::win32
