#include "platform/command_tail.h"

namespace platform {

std::string CommandTail(int argumentCount, const char* const* arguments) {
    std::string tail;
    for (int i = 1; i < argumentCount; ++i) {
        if (i > 1) tail += ' ';
        tail += arguments[i];
    }
    return tail;
}

}  // namespace platform
