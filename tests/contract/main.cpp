#include <gmock/gmock.h>

#include <string>

#include "contract/object_steps.h"
#include "platform/command_tail.h"
#include "platform/process_setup.h"

int main(int argumentCount, char** arguments) {
    platform::PrepareProcess();
    const std::string tail = platform::CommandTail(argumentCount, arguments);
    const std::string role = contract::kStepsRole;
    if (tail.starts_with(role)) return contract::RunSteps(tail.substr(role.size()));
    testing::InitGoogleMock(&argumentCount, arguments);
    return RUN_ALL_TESTS();
}
