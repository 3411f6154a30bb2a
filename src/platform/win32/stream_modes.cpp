#include <fcntl.h>
#include <io.h>

#include <cstdio>

#include "platform/standard_streams.h"

namespace platform {

void SetBinaryStandardStreams() {
    (void)::_setmode(::_fileno(stdin), _O_BINARY);
    (void)::_setmode(::_fileno(stdout), _O_BINARY);
}

bool IsTerminal(StandardStream stream) {
    return ::_isatty(::_fileno(stream == StandardStream::Error ? stderr : stdout)) != 0;
}

}  // namespace platform
