#include "platform/win32/unique_handle.h"

#include <windows.h>

namespace platform::win32 {
namespace {

void* NoneAsNull(void* handle) {
    return handle == INVALID_HANDLE_VALUE ? nullptr : handle;
}

}  // namespace

UniqueHandle::UniqueHandle(void* handle) noexcept : m_handle(NoneAsNull(handle)) {}

UniqueHandle& UniqueHandle::operator=(UniqueHandle&& other) noexcept {
    Reset(other.Release());
    return *this;
}

void* UniqueHandle::Release() noexcept {
    void* const handle = m_handle;
    m_handle = nullptr;
    return handle;
}

void UniqueHandle::Reset(void* next) noexcept {
    if (m_handle != nullptr) {
        const DWORD error = ::GetLastError();  // closing in a clean-up path must not hide what led there
        ::CloseHandle(m_handle);
        ::SetLastError(error);
    }
    m_handle = NoneAsNull(next);
}

}  // namespace platform::win32
