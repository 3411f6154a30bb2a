#include "platform/process_setup.h"

#include <csignal>

namespace platform {

void PrepareProcess() {
    (void)std::signal(SIGPIPE, SIG_IGN);
}

}  // namespace platform
