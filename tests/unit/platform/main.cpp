#include <gmock/gmock.h>

#include "child_roles.h"
#include "platform/command_tail.h"

int main(int argumentCount, char** arguments) {
    int code = 0;
    if (roles::Play(platform::CommandTail(argumentCount, arguments), code)) return code;
    testing::InitGoogleMock(&argumentCount, arguments);
    return RUN_ALL_TESTS();
}
