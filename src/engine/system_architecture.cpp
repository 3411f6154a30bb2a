#include "engine/system_architecture.h"

#include "engine/architecture_names.h"

namespace hvq::util {

std::string GetSystemArchitecture(const LoaderSeams& seams) {
    switch (seams.modules.NativeArchitecture()) {
        case platform::kArchitectureArm:
            return kNameArm;
        case platform::kArchitectureIa64:
            return kNameIa64;
        case platform::kArchitectureAmd64:
            return kNameAmd64;
        case platform::kArchitectureArm64:
            return kNameArm64;
        default:
            return kNameUnknown;  // 32-bit x86, which is 0, among them
    }
}

}  // namespace hvq::util
