#include "platform/process_setup.h"

#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <initializer_list>

namespace platform {

void PrepareProcess() {
    (void)std::signal(SIGPIPE, SIG_IGN);
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        // The lowest free number is taken, and those below are open by now. Not close-on-exec: children have streams.
        if (::fcntl(stream, F_GETFD) == -1) (void)::open("/dev/null", O_RDWR);
    }
}

void EndProcess(int exitCode) {
    (void)std::fflush(nullptr);
    std::_Exit(exitCode);
}

}  // namespace platform
