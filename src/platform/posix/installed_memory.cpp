#include "platform/installed_memory.h"

#include <sys/sysinfo.h>

namespace platform {
namespace {

class KernelMemory final : public InstalledMemory {
 public:
    std::uint64_t TotalBytes() override {
        struct sysinfo info {};
        return ::sysinfo(&info) == -1 ? 0 : std::uint64_t{info.totalram} * info.mem_unit;
    }
};

}  // namespace

InstalledMemory& SystemInstalledMemory() {
    static KernelMemory& memory = *new KernelMemory;  // never destroyed: destructors of globals may still come here
    return memory;
}

}  // namespace platform
