#include "platform/binary_output.h"

namespace platform {

void UseBinaryOutput() {}  // there is no other kind here

}  // namespace platform
