#include "probes/processor_cores.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <new>
#include <optional>
#include <vector>

#include "probes/logical_processors.h"

namespace probes {
namespace {

constexpr int kMaskBits = 64;

// The bytes of the system's list; nothing when it can't be had.
std::optional<std::vector<std::byte>> ReadCoreList(platform::CoreList& coreList) {
    if (!coreList.Exists()) return std::nullopt;
    try {
        std::vector<std::byte> list;
        std::uint32_t lengthBytes = 0;
        std::uint32_t error = coreList.Read({}, lengthBytes);
        while (error == platform::kInsufficientBuffer) {  // again and again: processors may come while we ask
            list.resize(lengthBytes);
            error = coreList.Read(list, lengthBytes);
        }
        if (error != 0) return std::nullopt;
        list.resize(std::min<std::size_t>(list.size(), lengthBytes));
        return list;
    } catch (const std::bad_alloc&) {
        return std::nullopt;  // the classic way needs no memory
    }
}

void CountByList(const std::vector<std::byte>& list, std::uint32_t& physicalCores, std::uint32_t& logicalPerCore) {
    std::uint32_t cores = 0;
    std::uint32_t logicalProcessors = 0;
    platform::ProcessorRelation record;
    for (std::size_t at = 0; list.size() - at >= sizeof(record); at += sizeof(record)) {  // whole records only
        std::memcpy(&record, list.data() + at, sizeof(record));
        if (record.relationship != platform::kRelationCore) continue;
        ++cores;
        logicalProcessors += CountMaskBits(record.processorMask);
    }
    physicalCores = cores;
    if (cores != 0) logicalPerCore = logicalProcessors / cores;  // else there is nothing to divide by, and 1 stays
}

// The bits of an APIC id above those that number the logical processors of one core. Nine doublings and more would
// leave it 0 as eight do; the counter, which has 8 bits as well, is 0 by then and would never reach its end.
std::uint8_t CoreBits(std::uint32_t logicalPerCore) {
    std::uint8_t mask = 255;
    std::uint8_t counter = 1;
    while (counter != 0 && counter < logicalPerCore) {
        mask = static_cast<std::uint8_t>(mask * 2);
        counter = static_cast<std::uint8_t>(counter * 2);
    }
    return mask;
}

// Puts the process back to where it may run, however its owner ends.
class AffinityKeeper {
 public:
    AffinityKeeper(platform::ProcessorAffinity& affinity, std::uint64_t processMask)
        : m_affinity(affinity), m_processMask(processMask) {}
    AffinityKeeper(const AffinityKeeper&) = delete;
    AffinityKeeper& operator=(const AffinityKeeper&) = delete;
    ~AffinityKeeper() { (void)m_affinity.Confine(m_processMask); }  // it was allowed before

 private:
    platform::ProcessorAffinity& m_affinity;
    std::uint64_t m_processMask;
};

// Visits every processor of the process. True when one of them isn't the first of its core.
bool FindSibling(std::uint64_t processMask, std::uint8_t coreBits, const platform::Machine& machine) {
    const AffinityKeeper keeper(machine.affinity, processMask);
    bool found = false;
    for (int bit = 0; bit < kMaskBits; ++bit) {
        const std::uint64_t processor = std::uint64_t{1} << bit;
        if ((processMask & processor) == 0 || !machine.affinity.Confine(processor)) continue;
        machine.affinity.GiveUpTurn();  // goes on where it may
        const std::uint8_t id = ReadInitialApicId(machine);
        found = found || (id & static_cast<std::uint8_t>(~coreBits)) != 0;
    }
    return found;
}

std::int32_t CountTheClassicWay(std::uint32_t& physicalCores, std::uint32_t& logicalPerCore,
                                const platform::Machine& machine) {
    physicalCores = machine.affinity.ProcessorCount() & 0xFF;
    if (HasHyperThreading(machine) == 0) {
        logicalPerCore = 1;
        return kCoresCounted;
    }
    logicalPerCore = ReadLogicalPerPackage(machine);
    if (logicalPerCore == 0) return kCoresCounted;
    const std::uint8_t coreBits = CoreBits(logicalPerCore);
    platform::ProcessorMasks masks;
    const bool known = machine.affinity.ReadMasks(masks);
    if (known && masks.process != masks.system) {
        physicalCores = kRestrictedProcess;
        return kSeveralLogicalInUse;
    }
    // With unknown masks there is no processor to visit, and nothing to put back.
    const bool siblingFound = known && FindSibling(masks.process, coreBits, machine);
    if (logicalPerCore == 1) return kOneLogicalPerPackage;
    if (!siblingFound) return kNoSiblingActive;
    physicalCores /= logicalPerCore;
    return kSeveralLogicalInUse;
}

}  // namespace

std::int32_t CountProcessorCores(std::uint32_t& physicalCores, std::uint32_t& logicalPerCore,
                                 const platform::Machine& machine) {
    physicalCores = 2;
    logicalPerCore = 1;
    if (const auto list = ReadCoreList(machine.coreList)) {
        CountByList(*list, physicalCores, logicalPerCore);
        return kCoresCounted;
    }
    return CountTheClassicWay(physicalCores, logicalPerCore, machine);
}

}  // namespace probes
