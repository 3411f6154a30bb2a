#include "platform/binary_output.h"

#include <fcntl.h>
#include <io.h>
#include <stdio.h>

namespace platform {

void UseBinaryOutput() {
    (void)::_setmode(::_fileno(stdout),
                     _O_BINARY);  // fails for no stream at all only, and then there is nothing to spoil
}

}  // namespace platform
