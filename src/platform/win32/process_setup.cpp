#include "platform/process_setup.h"

namespace platform {

void PrepareProcess() {}  // a closed pipe is an error code here, not a signal

}  // namespace platform
