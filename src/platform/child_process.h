#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace platform {

// The code of a child whose end is known but not how it ended.
inline constexpr std::int32_t kUnknownExitCode = std::numeric_limits<std::int32_t>::min();

// How a child process ended.
struct ChildExit {
    // The exit code. Linux keeps 8 bits of it; they are sign-extended, so that -1 reads -1 on both systems.
    // kUnknownExitCode when the system has forgotten it: on Linux this program ignores SIGCHLD or has waited for all
    // children at once elsewhere, or when the system does not know the child any more.
    std::int32_t code = 0;
    // The signal that ended the process, 0 when it ended by itself. Always 0 on Windows.
    std::int32_t signal = 0;
};

// What becomes of a child when this process ends first, however that ends.
enum class Lifetime {
    ItsOwn,  // it goes on
    // It is ended at once, with this process. Linux: already with the thread that started it, so that has to be one
    // that stays. Windows: where this process is in a job and the system can't put one into another (before Windows 8)
    // the child can't be started; and before Windows 10, one that has not begun to run yet can stay, never to run, when
    // this process is killed at that moment.
    ThisProcess,
};

// The end of a pipe that a child writes to. Thread: one at a time; any.
class ChildPipe {
 public:
    virtual ~ChildPipe() = default;

    // Waits until there is something, and gives how many bytes were read into `buffer`; 0 when the child, and whoever
    // it gave the pipe to, has closed it.
    virtual std::size_t Read(void* buffer, std::size_t bytes) = 0;
};

// What to start.
struct ChildStart {
    std::string program;      // path of the executable, UTF-8
    std::string commandTail;  // everything behind the program's name, one text, handed over as it stands; bytes of the
                              // thread's code page on Windows
    std::vector<std::pair<std::string, std::string>> environment;  // set over the inherited ones
    std::string standardOutputPath;  // file to create or empty for it; "" inherits this process's stream
                                     // (Linux: /dev/null where this process has none)
    std::string standardErrorPath;   // the same; equal paths are one file that both write to in their order
    Lifetime lifetime = Lifetime::ItsOwn;
    std::vector<std::string> arguments{};  // behind the command tail: each arrives as one, whatever is in it; UTF-8
    std::string standardInputPath{};       // file to read; "" inherits the stream
    // Out: where not null, the child's standard output is a pipe, and this becomes the end to read from.
    std::unique_ptr<ChildPipe>* standardOutputPipe = nullptr;
    // What the child prints goes to its standard error as well; the path and the pipe of its output are then not looked
    // at.
    bool outputToError = false;
};

// A started child. Destroying the object lets go of the child and does not end it (Linux: a child that has not
// ended by then is reaped, once it has, with the next start or the next such destruction, or at this process's end).
// Thread: one at a time, but Kill may come from any thread while another waits.
class ChildProcess {
 public:
    virtual ~ChildProcess() = default;

    virtual std::uint32_t Id() const = 0;

    // Waits for the end; timeoutMs as in NamedEvent::Wait. Nothing when the time ran out. Repeatable.
    virtual std::optional<ChildExit> WaitForExit(std::uint32_t timeoutMs) = 0;

    // Ends the child at once (code 1 on Windows, SIGKILL on Linux); harmless when it has ended.
    virtual void Kill() = 0;
};

class ChildProcesses {
 public:
    virtual ~ChildProcesses() = default;

    // Null when the program can't be started; `error` then holds the system's own words for the reason.
    // On Linux the whole command tail is one argument of the child's, left out when it is empty.
    virtual std::unique_ptr<ChildProcess> Start(const ChildStart& start, std::string& error) = 0;
};

// The operating system's own.
ChildProcesses& SystemChildProcesses();

}  // namespace platform
