#include "app/terminate_handler.h"

#include <cstdlib>
#include <exception>
#include <string>

#include "platform/standard_streams.h"

namespace app {
namespace {

[[noreturn]] void EndProcess() {
    std::string line = "velmoml ends: ";
    if (const std::exception_ptr exception = std::current_exception()) {
        try {
            std::rethrow_exception(exception);
        } catch (const std::exception& error) {
            line += std::string("uncaught exception: ") + error.what();
        } catch (...) {
            line += "uncaught exception of an unknown type";
        }
    } else {
        line += "terminate was called without an exception";
    }
    platform::SystemStandardStreams().Write(platform::StandardStream::Error, line + "\n");
    std::_Exit(kUncaughtExceptionExitCode);
}

}  // namespace

void InstallTerminateHandler() {
    std::set_terminate(EndProcess);
}

}  // namespace app
