#include "app/terminate_handler.h"

#include <cstdio>
#include <cstdlib>
#include <exception>

#include "platform/standard_streams.h"

namespace app {
namespace {

// Built on the stack: the reason may be that there is no memory.
constexpr std::size_t kLineBytes = 512;

void DescribeCurrentException(char (&line)[kLineBytes]) noexcept {
    if (!std::current_exception()) {
        (void)std::snprintf(line, kLineBytes, "velmoml ends: terminate was called without an exception\n");
        return;
    }
    try {
        throw;
    } catch (const std::exception& error) {
        (void)std::snprintf(line, kLineBytes, "velmoml ends: uncaught exception: %.400s\n", error.what());
    } catch (...) {
        (void)std::snprintf(line, kLineBytes, "velmoml ends: uncaught exception of an unknown type\n");
    }
}

[[noreturn]] void EndProcess() {
    char line[kLineBytes] = {};
    DescribeCurrentException(line);
    platform::SystemStandardStreams().Write(platform::StandardStream::Error, line);
    std::_Exit(kUncaughtExceptionExitCode);
}

}  // namespace

void InstallTerminateHandler() {
    std::set_terminate(EndProcess);
}

}  // namespace app
