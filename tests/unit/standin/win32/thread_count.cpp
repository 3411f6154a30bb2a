#include "thread_count.h"

// clang-format off
#include <windows.h>  // which the next one needs
#include <tlhelp32.h>
// clang-format on

#include <cstdlib>

namespace standin_support {
namespace {

// False for a thread that has ended and that somebody still has a handle of.
bool IsRunning(DWORD id) {
    const HANDLE thread = ::OpenThread(SYNCHRONIZE, FALSE, id);
    if (thread == nullptr) return false;
    const bool running = ::WaitForSingleObject(thread, 0) == WAIT_TIMEOUT;
    ::CloseHandle(thread);
    return running;
}

}  // namespace

std::ptrdiff_t ThreadCount() {
    const HANDLE snapshot = ::CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    if (snapshot == INVALID_HANDLE_VALUE) std::abort();
    THREADENTRY32 entry{};
    entry.dwSize = sizeof(entry);
    std::ptrdiff_t count = 0;
    for (BOOL more = ::Thread32First(snapshot, &entry); more != 0; more = ::Thread32Next(snapshot, &entry)) {
        if (entry.th32OwnerProcessID == ::GetCurrentProcessId() && IsRunning(entry.th32ThreadID)) ++count;
    }
    ::CloseHandle(snapshot);
    return count;
}

}  // namespace standin_support
