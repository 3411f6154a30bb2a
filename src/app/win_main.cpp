#include <stdexcept>

#include "app/command_line.h"
#include "app/entry.h"
#include "app/terminate_handler.h"
#include "platform/process_setup.h"
#include "platform/text_conversion.h"

// The entry point of a windowed program, without the system's header: the start-up code calls it by its C name, handles
// are pointers, and 64-bit Windows has one calling convention.
extern "C" int wWinMain(void* instance, void* /*previousInstance*/, wchar_t* commandLine, int /*showCommand*/) {
    app::InstallTerminateHandler();
    platform::PrepareProcess();
    app::StoreInstance(instance);
    const std::optional<std::string> cmdLine = app::NarrowCommandLine(commandLine, platform::SystemTextConversion());
    // Without the text there is no id, and without the id no parent that could be told.
    if (!cmdLine) throw std::runtime_error("the command line can't be converted to the thread's code page");
    platform::EndProcess(app::RunProcess(*cmdLine));
}
