#pragma once

#include <cstdint>
#include <functional>
#include <memory>

namespace platform {

// A started thread. Destroying one that was not joined ends the process, as with std::thread.
// Thread: one owner at a time.
class Thread {
 public:
    virtual ~Thread() = default;

    // Waits for the thread's end. False when the system could not join it; it then stays attached.
    virtual bool Join() = 0;

    // True on the very thread that this object stands for.
    virtual bool IsCurrent() const = 0;
};

// Where threads come from.
class Threads {
 public:
    virtual ~Threads() = default;

    // Runs `body` on a new thread. Null when the system has none to give; `body` has not run then.
    // An exception that leaves `body` ends the process.
    virtual std::unique_ptr<Thread> Start(std::function<void()> body) = 0;
};

// The operating system's own.
Threads& SystemThreads();

// The operating system's numbers of the calling thread and of this process.
std::uint32_t CurrentThreadId();
std::uint32_t CurrentProcessId();

}  // namespace platform
