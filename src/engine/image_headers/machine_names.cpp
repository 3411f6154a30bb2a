#include "engine/image_headers/machine_names.h"

#include "engine/architecture_names.h"

namespace hvq::util {

std::string NameOfPeMachine(std::uint16_t machine) {
    switch (machine) {
        case 0x01C0:
            return kNameArm;
        case 0x0200:
            return kNameIa64;
        case 0x8664:
            return kNameAmd64;
        case 0xAA64:
            return kNameArm64;
        default:
            return kNameUnknown;
    }
}

std::string NameOfElfMachine(std::uint16_t machine) {
    switch (machine) {
        case 40:
            return kNameArm;
        case 50:
            return kNameIa64;
        case 62:
            return kNameAmd64;
        case 183:
            return kNameArm64;
        default:
            return kNameUnknown;
    }
}

}  // namespace hvq::util
