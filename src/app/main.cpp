#include <string>

#include "app/entry.h"
#include "app/terminate_handler.h"
#include "platform/process_setup.h"

// Parents hand the whole tail over as one argument. Somebody at a shell may not, so several are put together as Windows
// would deliver them: with a blank between.
int main(int argumentCount, char** arguments) {
    app::InstallTerminateHandler();
    platform::PrepareProcess();
    std::string cmdLine;
    for (int i = 1; i < argumentCount; ++i) {
        if (i > 1) cmdLine += ' ';
        cmdLine += arguments[i];
    }
    return app::RunProcess(cmdLine);
}
