#include "platform/command_tail.h"

namespace platform {

std::string CommandTail(int argumentCount, const char* const* arguments) {
    return argumentCount > 1 ? arguments[1] : "";
}

}  // namespace platform
