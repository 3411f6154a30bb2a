#include "platform/machine.h"

namespace platform {

Machine ThisMachine() {
    return {SystemVersionSources(),    SystemVersionBlocks(), ProcessorCpuid(),       SystemCoreList(),
            SystemProcessorAffinity(), SystemRegistryKeys(),  SystemInstalledMemory()};
}

}  // namespace platform
