#include "platform/version_sources.h"

#include "platform/module_loader.h"

namespace platform {
namespace {

class NoRelease final : public VersionSources {
 public:
    bool ReportedVersion(VersionRecord& /*record*/) override { return false; }
    bool HasRtlVersion() override { return false; }
    std::int32_t RtlVersion(VersionRecord& /*record*/) override { return kNotImplemented; }
    bool HasNativeArchitecture() override { return true; }
    std::uint16_t NativeArchitecture() override { return SystemModuleLoader().NativeArchitecture(); }

 private:
    static constexpr std::int32_t kNotImplemented = -1073741822;  // 0xC0000002, in the words of that call
};

}  // namespace

VersionSources& SystemVersionSources() {
    static NoRelease& release = *new NoRelease;  // never destroyed: destructors of globals may still come here
    return release;
}

}  // namespace platform
