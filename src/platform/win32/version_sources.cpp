#include "platform/version_sources.h"

#include <windows.h>

#include <bit>
#include <cstddef>

#include "platform/module_loader.h"
#include "platform/win32/system_function.h"

namespace platform {
namespace {

static_assert(sizeof(OSVERSIONINFOEXW) == kVersionRecordBytes && sizeof(OSVERSIONINFOW) == kShortVersionRecordBytes);
static_assert(offsetof(OSVERSIONINFOEXW, dwMajorVersion) == offsetof(VersionRecord, major));
static_assert(offsetof(OSVERSIONINFOEXW, dwPlatformId) == offsetof(VersionRecord, platformId));
static_assert(offsetof(OSVERSIONINFOEXW, wServicePackMajor) == offsetof(VersionRecord, servicePackMajor));
static_assert(offsetof(OSVERSIONINFOEXW, wProductType) == offsetof(VersionRecord, productType));

using RtlGetVersionFunction = LONG(WINAPI*)(OSVERSIONINFOW*);
using GetNativeSystemInfoFunction = void(WINAPI*)(SYSTEM_INFO*);

RtlGetVersionFunction FindRtlGetVersion() {
    return win32::FindSystemFunction<RtlGetVersionFunction>(L"ntdll.dll", "RtlGetVersion");
}

GetNativeSystemInfoFunction FindGetNativeSystemInfo() {
    return win32::FindSystemFunction<GetNativeSystemInfoFunction>(L"kernel32", "GetNativeSystemInfo");
}

// Both forms begin alike, and the size field says which of them the call may fill.
OSVERSIONINFOW* ShortForm(OSVERSIONINFOEXW& record) {
    return reinterpret_cast<OSVERSIONINFOW*>(&record);
}

// Calls `ask` with a copy of the record in the system's own type. Gives its result.
template <class Ask>
auto WithSystemRecord(VersionRecord& record, Ask ask) {
    auto systemRecord = std::bit_cast<OSVERSIONINFOEXW>(record);
    const auto result = ask(ShortForm(systemRecord));
    record = std::bit_cast<VersionRecord>(systemRecord);
    return result;
}

class SystemCalls final : public VersionSources {
 public:
    bool ReportedVersion(VersionRecord& record) override {
#ifdef _MSC_VER
#pragma warning(suppress : 4996)  // deprecated, since it tells what the compatibility layer wants: we know
#endif
        return WithSystemRecord(record, [](OSVERSIONINFOW* one) { return ::GetVersionExW(one); }) != 0;
    }

    bool HasRtlVersion() override {
        return FindRtlGetVersion() != nullptr;
    }

    std::int32_t RtlVersion(VersionRecord& record) override {
        const RtlGetVersionFunction call = FindRtlGetVersion();
        return WithSystemRecord(record, [call](OSVERSIONINFOW* one) { return call(one); });
    }

    bool HasNativeArchitecture() override {
        return FindGetNativeSystemInfo() != nullptr;
    }

    std::uint16_t NativeArchitecture() override {
        SYSTEM_INFO info{};
        FindGetNativeSystemInfo()(&info);
        return info.wProcessorArchitecture;
    }
};

}  // namespace

VersionSources& SystemVersionSources() {
    static SystemCalls& calls = *new SystemCalls;  // never destroyed: destructors of globals may still come here
    return calls;
}

}  // namespace platform
