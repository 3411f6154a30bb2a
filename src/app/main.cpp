#include "app/entry.h"
#include "app/terminate_handler.h"
#include "platform/command_tail.h"
#include "platform/process_setup.h"

int main(int argumentCount, char** arguments) {
    app::InstallTerminateHandler();
    platform::PrepareProcess();
    app::StoreInstance(nullptr);
    platform::EndProcess(app::RunProcess(platform::CommandTail(argumentCount, arguments)));
}
