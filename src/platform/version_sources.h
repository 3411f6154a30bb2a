#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace platform {

// What the system's version calls fill, in their own layout. They take a longer and a shorter form, and tell them apart
// by the first field.
struct VersionRecord {
    std::uint32_t recordBytes = 0;  // set by the caller: one of the two sizes below
    std::uint32_t major = 0;
    std::uint32_t minor = 0;
    std::uint32_t build = 0;
    std::uint32_t platformId = 0;                 // 1 for the line of Windows 95, 2 for that of NT
    std::array<char16_t, 128> servicePackText{};  // terminated
    std::uint16_t servicePackMajor = 0;           // this and the rest: in the longer form only
    std::uint16_t servicePackMinor = 0;
    std::uint16_t suiteMask = 0;
    std::uint8_t productType = 0;
    std::uint8_t reserved = 0;
};

inline constexpr std::uint32_t kVersionRecordBytes = 284;
inline constexpr std::uint32_t kShortVersionRecordBytes = 276;
static_assert(sizeof(VersionRecord) == kVersionRecordBytes);
static_assert(offsetof(VersionRecord, servicePackMajor) == kShortVersionRecordBytes);

// Calls of the system that tell which release it is, and on what machine. Each operation is one call, so that its
// caller decides on order and fallbacks. On Linux there is no such release: none of them succeeds but the last two.
// Thread: any. Throws nothing.
class VersionSources {
 public:
    virtual ~VersionSources() = default;

    // The version as the compatibility layer reports it, which may be that of an older release. False when the call
    // fails, also because it doesn't know the record's size.
    virtual bool ReportedVersion(VersionRecord& record) = 0;

    // Looks up the call that the compatibility layer leaves alone, which old releases don't have.
    virtual bool HasRtlVersion() = 0;

    // Makes that call, once it was found. 0 is success, anything else a failure.
    virtual std::int32_t RtlVersion(VersionRecord& record) = 0;

    // Looks up the call that tells the machine's architecture, also to a process that is emulated on it.
    virtual bool HasNativeArchitecture() = 0;

    // Makes that call, once it was found: one of the kArchitecture numbers of "platform/module_loader.h", or any other.
    virtual std::uint16_t NativeArchitecture() = 0;
};

// The operating system's own.
VersionSources& SystemVersionSources();

}  // namespace platform
