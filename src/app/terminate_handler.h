#pragma once

namespace app {

// The exit code of a process that ends because nobody caught an exception. None of 0, 3 and -1, which have meanings of
// their own; 3 is also what abort() would give on Windows.
inline constexpr int kUncaughtExceptionExitCode = 70;

// From now on an exception that nobody catches writes one line to standard error and ends the process at once with
// kUncaughtExceptionExitCode: no dialog, no dump, no destructor. Some failures end the process this way by design, as a
// command slot that holds no command.
// Thread: the entry thread, once.
void InstallTerminateHandler();

}  // namespace app
