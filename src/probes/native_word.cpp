#include "probes/native_word.h"

#include "platform/module_loader.h"

namespace probes {

static_assert(platform::kArchitectureIa64 == 6 && platform::kArchitectureAmd64 == 9 &&
              platform::kArchitectureArm64 == 12);

bool IsNative64Bit(const platform::Machine& machine) {
    if (!machine.versionSources.HasNativeArchitecture()) return false;
    switch (machine.versionSources.NativeArchitecture()) {
        case platform::kArchitectureIa64:
        case platform::kArchitectureAmd64:
        case platform::kArchitectureArm64:
            return true;
        default:
            return false;
    }
}

const char* ProcessorArchitectureName() {
    return "x86_64";
}

}  // namespace probes
