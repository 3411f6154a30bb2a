#include "platform/processor_affinity.h"

#include <windows.h>

namespace platform {
namespace {

class SystemCalls final : public ProcessorAffinity {
 public:
    std::uint32_t ProcessorCount() override {
        SYSTEM_INFO info{};
        ::GetSystemInfo(&info);
        return info.dwNumberOfProcessors;
    }

    bool ReadMasks(ProcessorMasks& masks) override {
        DWORD_PTR process = 0;
        DWORD_PTR system = 0;
        if (::GetProcessAffinityMask(::GetCurrentProcess(), &process, &system) == 0) return false;
        masks = {process, system};
        return true;
    }

    bool Confine(std::uint64_t processMask) override {
        return ::SetProcessAffinityMask(::GetCurrentProcess(), static_cast<DWORD_PTR>(processMask)) != 0;
    }

    void GiveUpTurn() override { ::Sleep(0); }
};

}  // namespace

ProcessorAffinity& SystemProcessorAffinity() {
    static SystemCalls& calls = *new SystemCalls;  // never destroyed: destructors of globals may still come here
    return calls;
}

}  // namespace platform
