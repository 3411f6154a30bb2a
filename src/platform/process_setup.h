#pragma once

namespace platform {

// What a program of ours asks of the system before anything else: a peer that closes a pipe must not end this process
// (Linux: SIGPIPE is ignored), and what is printed must never get into another file (Linux: a standard stream that is
// closed gets /dev/null, or the next file opened would take its number). Call once, on the entry thread, before other
// threads start and files are opened.
void PrepareProcess();

// Ends the process with this exit code, as the last thing on the entry thread: output that was buffered is written, and
// other threads stop wherever they are. No exit handler runs, and no library is unloaded: a thread may be at work in
// one, and must not find it half gone.
[[noreturn]] void EndProcess(int exitCode);

}  // namespace platform
