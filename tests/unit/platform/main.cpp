#include <gmock/gmock.h>

#include <cstdio>
#include <string>

#include "child_roles.h"
#include "platform/command_tail.h"
#include "platform/standard_streams.h"

// The arguments one by one, for the tests of how they are handed over.
static int PrintArguments(int argumentCount, char** arguments) {
    platform::SetBinaryStandardStreams();
    for (int at = 2; at < argumentCount; ++at)
        std::printf("[%s]\n", arguments[at]);
    return 0;
}

int main(int argumentCount, char** arguments) {
    if (argumentCount > 1 && arguments[1] == std::string("arguments:")) {
        return PrintArguments(argumentCount, arguments);
    }
    int code = 0;
    if (roles::Play(platform::CommandTail(argumentCount, arguments), code)) return code;
    testing::InitGoogleMock(&argumentCount, arguments);
    return RUN_ALL_TESTS();
}
