#include "probes/os_version.h"

#include "probes/kernel_product.h"

namespace probes {
namespace {

constexpr std::int32_t kUnknown = 0;
constexpr std::int32_t kNt4OrEarlier = 2;
constexpr std::int32_t kWindows95 = 3;
constexpr std::int32_t kWindows98 = 4;
constexpr std::int32_t kWindowsMe = 5;
constexpr std::int32_t kWindows2000 = 6;
constexpr std::int32_t kWindowsVista = 9;
constexpr std::int32_t kWindows10 = 13;
constexpr std::int32_t kWindows11 = 14;
constexpr std::int32_t kLaterThanKnown = 20;

constexpr std::uint32_t kPlatformWindows = 1;
constexpr std::uint32_t kPlatformNt = 2;
constexpr std::uint32_t kFirstBuildOfWindows11 = 21996;
constexpr std::uint32_t kFirstMajorOfTheFile = 10;  // below it the file's number is ignored

std::int32_t ClassOfOldLine(std::uint32_t major, std::uint32_t minor) {
    if (major != 4) return kUnknown;
    switch (minor) {
        case 0:
            return kWindows95;
        case 10:
            return kWindows98;
        case 90:
            return kWindowsMe;
        default:
            return kUnknown;
    }
}

std::int32_t ClassOfNtLine(std::uint32_t major, std::uint32_t minor, std::uint32_t build) {
    if (major <= 4) return kNt4OrEarlier;
    // 2000, XP and Server 2003; what lies above these is unknown, since "later than known" begins at major 6.
    if (major == 5) return minor <= 2 ? kWindows2000 + static_cast<std::int32_t>(minor) : kUnknown;
    // Vista, 7, 8 and 8.1.
    if (major == 6 && minor <= 3) return kWindowsVista + static_cast<std::int32_t>(minor);
    if (major == 10 && minor == 0) return build < kFirstBuildOfWindows11 ? kWindows10 : kWindows11;
    return kLaterThanKnown;
}

std::int32_t ClassOf(const platform::VersionRecord& record) {
    switch (record.platformId) {
        case kPlatformWindows:
            return ClassOfOldLine(record.major, record.minor);
        case kPlatformNt:
            return ClassOfNtLine(record.major, record.minor, record.build);
        default:
            return kUnknown;
    }
}

// The long form first; releases that don't know it refuse its size.
bool ReadReportedVersion(platform::VersionRecord& record, platform::VersionSources& sources) {
    record.recordBytes = platform::kVersionRecordBytes;
    if (sources.ReportedVersion(record)) return true;
    record.recordBytes = platform::kShortVersionRecordBytes;
    return sources.ReportedVersion(record);
}

}  // namespace

std::int32_t GetOsVersionClass(std::uint32_t& major, std::uint32_t& minor, std::uint32_t& build,
                               const platform::Machine& machine) {
    platform::VersionRecord version;
    if (!ReadReportedVersion(version, machine.versionSources)) return kUnknown;
    platform::VersionRecord real;
    if (ReadRtlVersion(real, machine)) {  // all but the platform id
        version.major = real.major;
        version.minor = real.minor;
        version.build = real.build;
    }
    const std::uint32_t productMajor = ReadKernelProductMajor(machine);
    if (productMajor >= kFirstMajorOfTheFile) version.major = productMajor;
    major = version.major;
    minor = version.minor;
    build = version.build;
    return ClassOf(version);
}

std::int32_t GetCachedOsVersionClass() {
    static constinit std::atomic<std::int32_t> cached = kUnknown;
    return GetCachedOsVersionClass(cached, platform::ThisMachine());
}

// No lock: threads that race compute the same number, and it is written whole. An unknown release is asked for again.
std::int32_t GetCachedOsVersionClass(std::atomic<std::int32_t>& cached, const platform::Machine& machine) {
    const std::int32_t known = cached.load(std::memory_order_relaxed);  // nothing else is published with it
    if (known != kUnknown) return known;
    std::uint32_t major = 0;
    std::uint32_t minor = 0;
    std::uint32_t build = 0;
    const std::int32_t found = GetOsVersionClass(major, minor, build, machine);
    cached.store(found, std::memory_order_relaxed);
    return found;
}

bool ReadRtlVersion(platform::VersionRecord& record, const platform::Machine& machine) {
    platform::VersionSources& sources = machine.versionSources;
    if (!sources.HasRtlVersion()) return false;
    record.recordBytes = platform::kShortVersionRecordBytes;
    return sources.RtlVersion(record) == 0;
}

}  // namespace probes
