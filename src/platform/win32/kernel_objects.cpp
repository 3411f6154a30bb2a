#include "platform/kernel_objects.h"

#include <windows.h>

#include "platform/win32/unique_handle.h"

namespace platform {
namespace {

using win32::UniqueHandle;

// FILE_MAP_ALL_ACCESS as the peer writes it: SECTION_ALL_ACCESS without the right to execute.
constexpr DWORD kReadWriteAccess = 0xF001F;

// Kept apart from the thread's own number, so that neither a destructor nor the allocator can change it between the
// failure and the question.
thread_local std::uint32_t t_lastError = 0;

void RememberError() {
    t_lastError = ::GetLastError();
}

void RememberInvalidArgument() {
    t_lastError = ERROR_INVALID_PARAMETER;
}

class KernelEvent final : public NamedEvent {
 public:
    explicit KernelEvent(UniqueHandle handle) : m_handle(std::move(handle)) {}

    bool Set() override {
        if (::SetEvent(m_handle.Get()) != 0) return true;
        RememberError();
        return false;
    }

    WaitResult Wait(std::uint32_t timeoutMs) override {
        static_assert(kNoTimeLimit == INFINITE);
        switch (::WaitForSingleObject(m_handle.Get(), timeoutMs)) {
            case WAIT_OBJECT_0:
                return WaitResult::Signalled;
            case WAIT_TIMEOUT:
                return WaitResult::TimedOut;
            default:
                RememberError();
                return WaitResult::Failed;
        }
    }

 private:
    UniqueHandle m_handle;
};

class KernelMapping final : public NamedMapping {
 public:
    KernelMapping(UniqueHandle handle, DWORD access) : m_handle(std::move(handle)), m_access(access) {}
    KernelMapping(const KernelMapping&) = delete;
    KernelMapping& operator=(const KernelMapping&) = delete;
    ~KernelMapping() override { KernelMapping::Unmap(); }

    std::byte* Map(std::uint64_t bytes) override {
        Unmap();
        // Zero bytes would ask for the whole mapping, whatever its size.
        if (bytes == 0) {
            RememberInvalidArgument();
            return nullptr;
        }
        m_view = ::MapViewOfFile(m_handle.Get(), m_access, 0, 0, static_cast<SIZE_T>(bytes));
        if (m_view == nullptr) RememberError();
        return static_cast<std::byte*>(m_view);
    }

    void Unmap() override {
        if (m_view == nullptr) return;
        const DWORD error = ::GetLastError();
        ::UnmapViewOfFile(m_view);
        ::SetLastError(error);
        m_view = nullptr;
    }

 private:
    UniqueHandle m_handle;
    DWORD m_access;
    void* m_view = nullptr;
};

class KernelNames final : public KernelObjects {
 public:
    std::unique_ptr<NamedEvent> CreateOrOpenEvent(const std::string& name) override {
        if (!CanBeFound(name)) return nullptr;
        UniqueHandle handle(::CreateEventA(nullptr, FALSE, FALSE, name.c_str()));
        if (!handle) {
            RememberError();
            return nullptr;
        }
        return std::make_unique<KernelEvent>(std::move(handle));
    }

    std::unique_ptr<NamedMapping> OpenMapping(const std::string& name, MappingAccess access) override {
        if (!CanBeFound(name)) return nullptr;
        const DWORD wanted = access == MappingAccess::ReadOnly ? FILE_MAP_READ : kReadWriteAccess;
        return Own(::OpenFileMappingA(wanted, FALSE, name.c_str()), wanted);
    }

    std::unique_ptr<NamedMapping> CreateMapping(const std::string& name, std::uint32_t bytes) override {
        if (!CanBeFound(name)) return nullptr;
        return Own(::CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, bytes, name.c_str()),
                   kReadWriteAccess);
    }

    std::uint32_t LastError() const override { return t_lastError; }

 private:
    // Windows makes an object without a name of an empty one, and would cut a name at a NUL. All other rules about
    // names are left to it.
    static bool CanBeFound(const std::string& name) {
        if (!name.empty() && name.find('\0') == std::string::npos) return true;
        RememberInvalidArgument();
        return false;
    }

    static std::unique_ptr<NamedMapping> Own(HANDLE opened, DWORD access) {
        UniqueHandle handle(opened);
        if (!handle) {
            RememberError();
            return nullptr;
        }
        return std::make_unique<KernelMapping>(std::move(handle), access);
    }
};

}  // namespace

KernelObjects& SystemKernelObjects() {
    static KernelNames& objects = *new KernelNames;  // never destroyed: destructors of globals may still come here
    return objects;
}

}  // namespace platform
