#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace platform {

inline constexpr std::uint32_t kInsufficientBuffer = 122;  // an error number: the list needs more room

// One entry of the system's list of what its processors share, in the layout of Windows.
struct ProcessorRelation {
    std::uint64_t processorMask = 0;  // a bit for each logical processor that shares it
    std::uint32_t relationship = 0;   // what they share: one of the kRelation numbers, or any other
    std::uint32_t padding = 0;
    std::array<std::uint64_t, 2> detail{};  // depends on the relationship
};
static_assert(sizeof(ProcessorRelation) == 32);
static_assert(offsetof(ProcessorRelation, relationship) == 8);

inline constexpr std::uint32_t kRelationCore = 0;
inline constexpr std::uint32_t kRelationCache = 2;

// The system's own list of its processor cores. On Linux it is made of /sys/devices/system/cpu, with a record for each
// core. Windows lists the processors of this process's group only, which are up to 64. Linux lists all cores; one with
// a processor whose number is above 63 gets as many of the lowest bits as it has processors, since no mask could name
// them. Thread: any. Throws std::bad_alloc.
class CoreList {
 public:
    virtual ~CoreList() = default;

    // Looks up the call, which old releases of Windows don't have.
    virtual bool Exists() = 0;

    // Makes that call, once it was found: copies the list to `buffer`, which may be empty.
    //   lengthBytes  out: on success the bytes that were written; with kInsufficientBuffer those that are needed
    // Returns 0 on success, or the system's error number.
    virtual std::uint32_t Read(std::span<std::byte> buffer, std::uint32_t& lengthBytes) = 0;
};

// The operating system's own.
CoreList& SystemCoreList();

}  // namespace platform
