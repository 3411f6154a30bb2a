#include <gmock/gmock.h>

#include "infra/profile_log_rounds.h"
#include "platform/command_tail.h"
#include "profile_log_rounds_role.h"

int main(int argumentCount, char** arguments) {
    if (platform::CommandTail(argumentCount, arguments) == infra::kProfileLogRoundsRole) {
        return static_cast<int>(infra::ProfileLogRounds(12));
    }
    testing::InitGoogleMock(&argumentCount, arguments);
    return RUN_ALL_TESTS();
}
