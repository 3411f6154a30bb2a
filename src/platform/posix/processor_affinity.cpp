#include "platform/processor_affinity.h"

#include <sched.h>
#include <unistd.h>

#include <cstddef>
#include <new>
#include <optional>

#include "platform/posix/processor_files.h"

namespace platform {
namespace {

constexpr std::size_t kMaskBits = 64;
constexpr pid_t kThisThread = 0;

std::uint64_t Bit(std::size_t processor) {
    return std::uint64_t{1} << processor;
}

std::optional<std::uint64_t> OnlineMask() try {
    const auto processors = posix::OnlineProcessors(posix::kProcessorFolder);
    if (!processors) return std::nullopt;
    std::uint64_t mask = 0;
    for (const std::uint32_t processor : *processors) {
        if (processor >= kMaskBits) return std::nullopt;
        mask |= Bit(processor);
    }
    return mask;
} catch (const std::bad_alloc&) {
    return std::nullopt;
}

class Scheduler final : public ProcessorAffinity {
 public:
    std::uint32_t ProcessorCount() override {
        const long count = ::sysconf(_SC_NPROCESSORS_ONLN);
        return count < 1 ? 1 : static_cast<std::uint32_t>(count);
    }

    bool ReadMasks(ProcessorMasks& masks) override {
        const auto system = OnlineMask();
        cpu_set_t set;
        CPU_ZERO(&set);
        if (!system || ::sched_getaffinity(kThisThread, sizeof(set), &set) == -1) return false;
        masks = {0, *system};
        for (std::size_t processor = 0; processor < kMaskBits; ++processor) {
            if (CPU_ISSET(processor, &set)) masks.process |= Bit(processor);
        }
        return true;
    }

    bool Confine(std::uint64_t processMask) override {
        cpu_set_t set;
        CPU_ZERO(&set);
        for (std::size_t processor = 0; processor < kMaskBits; ++processor) {
            if ((processMask & Bit(processor)) != 0) CPU_SET(processor, &set);
        }
        return ::sched_setaffinity(kThisThread, sizeof(set), &set) == 0;
    }

    void GiveUpTurn() override { (void)::sched_yield(); }  // always succeeds here
};

}  // namespace

ProcessorAffinity& SystemProcessorAffinity() {
    static Scheduler& scheduler = *new Scheduler;  // never destroyed: destructors of globals may still come here
    return scheduler;
}

}  // namespace platform
