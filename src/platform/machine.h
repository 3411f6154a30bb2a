#pragma once

#include "platform/core_list.h"
#include "platform/cpuid.h"
#include "platform/installed_memory.h"
#include "platform/processor_affinity.h"
#include "platform/registry_keys.h"
#include "platform/version_blocks.h"
#include "platform/version_sources.h"

namespace platform {

// Everything that tells what machine this is, for those who ask more than one of them. All are borrowed.
struct Machine {
    VersionSources& versionSources;
    VersionBlocks& versionBlocks;
    Cpuid& cpuid;
    CoreList& coreList;
    ProcessorAffinity& affinity;
    RegistryKeys& registry;
    InstalledMemory& memory;
};

// The operating system's and the processor's own. Thread: any.
Machine ThisMachine();

}  // namespace platform
