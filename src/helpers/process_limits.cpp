#include "helpers/process_limits.h"

namespace rvo_calyr {

ProcessLimits& TheProcessLimits() {
    static ProcessLimits& limits = *new ProcessLimits;  // never destroyed: helpers may work until the process's end
    return limits;
}

}  // namespace rvo_calyr
