#include "platform/installed_memory.h"

#include <windows.h>

namespace platform {
namespace {

class SystemCalls final : public InstalledMemory {
 public:
    std::uint64_t TotalBytes() override {
        MEMORYSTATUSEX status{};
        static_assert(sizeof(status) == 64);
        status.dwLength = sizeof(status);
        (void)::GlobalMemoryStatusEx(&status);  // when it fails, 0 stands there, which is what is to be told
        return status.ullTotalPhys;
    }
};

}  // namespace

InstalledMemory& SystemInstalledMemory() {
    static SystemCalls& calls = *new SystemCalls;  // never destroyed: destructors of globals may still come here
    return calls;
}

}  // namespace platform
