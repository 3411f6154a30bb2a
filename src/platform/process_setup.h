#pragma once

namespace platform {

// What a program of ours asks of the system before anything else: a peer that closes a pipe must not end this process
// (Linux: SIGPIPE is ignored). Call once, on the entry thread.
void PrepareProcess();

}  // namespace platform
