#include <unistd.h>

#include "platform/standard_streams.h"

namespace platform {

void SetBinaryStandardStreams() {}  // there is no other kind

bool IsTerminal(StandardStream stream) {
    return ::isatty(stream == StandardStream::Error ? STDERR_FILENO : STDOUT_FILENO) == 1;
}

}  // namespace platform
