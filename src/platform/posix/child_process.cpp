#include "platform/child_process.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <ctime>
#include <mutex>
#include <system_error>

#include "platform/posix/deadline.h"
#include "platform/posix/unique_descriptor.h"

namespace platform {
namespace {

using posix::AboveStreams;
using posix::Deadline;
using posix::UniqueDescriptor;

// By number: the library's own functions for these are newer than the calls, and some of its headers declare them for C
// alone.
UniqueDescriptor OpenProcess(pid_t id) {
    return AboveStreams(UniqueDescriptor(static_cast<int>(::syscall(SYS_pidfd_open, id, 0))));
}

void SendSignal(int process, int signal) {
    (void)::syscall(SYS_pidfd_send_signal, process, signal, nullptr, 0);
}

std::string TextOf(int error) {
    return std::generic_category().message(error);
}

constexpr ChildExit kUnknownExit{kUnknownExitCode, 0};

// The exit of the process behind `process` if it has ended; takes its entry out of the process table. A child whose
// entry is gone already has ended too: its code went to whoever waited for all children, or, where SIGCHLD is ignored,
// nowhere.
std::optional<ChildExit> Reap(int process) {
    siginfo_t info{};
    int result = 0;
    do {
        result = ::waitid(P_PIDFD, static_cast<id_t>(process), &info, WEXITED | WNOHANG);
    } while (result == -1 && errno == EINTR);
    if (result == -1 && errno == ECHILD) return kUnknownExit;
    if (result == -1 || info.si_pid == 0) return std::nullopt;
    ChildExit exit;
    if (info.si_code == CLD_EXITED) {
        exit.code = info.si_status >= 128 ? info.si_status - 256 : info.si_status;
    } else {
        exit.signal = info.si_status;
    }
    return exit;
}

// Children whose objects went before they ended. They are looked at whenever a child is started or let go, so an ended
// one keeps its entry in the process table until then, or until this process ends and the system's first process takes
// it. Thread: any.
class AbandonedChildren {
 public:
    void Add(UniqueDescriptor process) {
        const std::lock_guard lock(m_mutex);
        m_processes.push_back(std::move(process));
    }

    void ReapEnded() {
        const std::lock_guard lock(m_mutex);
        std::erase_if(m_processes, [](const UniqueDescriptor& process) { return Reap(process.Get()).has_value(); });
    }

 private:
    std::mutex m_mutex;
    std::vector<UniqueDescriptor> m_processes;  // guarded by m_mutex
};

AbandonedChildren& Abandoned() {
    static AbandonedChildren& children = *new AbandonedChildren;  // never destroyed: children may be let go at exit
    return children;
}

// A child is named by a descriptor and not by its number: the number can become another process's once the child is
// reaped, so a Kill that races with a wait could hit a stranger.
class SpawnedChild final : public ChildProcess {
 public:
    SpawnedChild(UniqueDescriptor process, pid_t id) : m_process(std::move(process)), m_id(id) {}

    // One that had ended, and was forgotten, before it could be looked at.
    explicit SpawnedChild(pid_t id) : m_id(id), m_exit(kUnknownExit) {}

    ~SpawnedChild() override {
        if (!m_exit) m_exit = Reap(m_process.Get());
        if (!m_exit) Abandoned().Add(std::move(m_process));
        Abandoned().ReapEnded();
    }

    std::uint32_t Id() const override { return static_cast<std::uint32_t>(m_id); }

    std::optional<ChildExit> WaitForExit(std::uint32_t timeoutMs) override {
        if (m_exit) return m_exit;
        const Deadline deadline(timeoutMs);
        for (;;) {
            const std::optional<timespec> left = deadline.Remaining();
            pollfd ended{m_process.Get(), POLLIN, 0};
            const int result = ::ppoll(&ended, 1, left ? &*left : nullptr, nullptr);
            if (result == -1 && errno == EINTR) continue;
            m_exit = Reap(m_process.Get());
            if (result > 0 && !m_exit) m_exit = kUnknownExit;  // the descriptor was taken away from us
            if (m_exit || result == 0 || deadline.HasPassed()) return m_exit;
            // There was no memory, or no descriptor may be waited for: look now and then.
            constexpr timespec kBetweenLooks{0, 10'000'000};
            (void)::nanosleep(&kBetweenLooks, nullptr);
        }
    }

    void Kill() override {
        // Fails when the child is gone already, which is just as well.
        if (m_process) SendSignal(m_process.Get(), SIGKILL);
    }

 private:
    UniqueDescriptor m_process;  // fixed until destruction, so Kill needs no lock
    pid_t m_id;
    std::optional<ChildExit> m_exit;  // written and read by waiters only
};

// Where one of the child's streams leads.
struct StreamPlan {
    enum class Kind { AsItIs, Null, File, FileToRead, SameAsOutput, SameAsError, Descriptor };
    Kind kind = Kind::AsItIs;
    const char* path = nullptr;  // of a file
    int descriptor = -1;         // above the streams
};

class PipeEnd final : public ChildPipe {
 public:
    explicit PipeEnd(UniqueDescriptor descriptor) : m_descriptor(std::move(descriptor)) {}

    std::size_t Read(void* buffer, std::size_t bytes) override {
        ssize_t count = 0;
        do {
            count = ::read(m_descriptor.Get(), buffer, bytes);
        } while (count == -1 && errno == EINTR);
        return count > 0 ? static_cast<std::size_t>(count) : 0;
    }

 private:
    UniqueDescriptor m_descriptor;
};

// Everything that the child needs between its making and the new program. Made before, since the child may do next to
// nothing: it runs in this process's memory.
struct SpawnPlan {
    const char* program = nullptr;
    char* const* arguments = nullptr;
    char* const* environment = nullptr;
    std::array<StreamPlan, 3> streams{};
    bool endsWithParent = false;
    pid_t parent = 0;
};

// A child never starts with a stream closed, since its first file would get that number and what it prints.
StreamPlan Inherited(int stream) {
    const int flags = ::fcntl(stream, F_GETFD);
    return {flags != -1 && (flags & FD_CLOEXEC) == 0 ? StreamPlan::Kind::AsItIs : StreamPlan::Kind::Null, nullptr, -1};
}

StreamPlan To(int stream, const std::string& path) {
    if (path.empty()) return Inherited(stream);
    return {StreamPlan::Kind::File, path.c_str(), -1};
}

// In the child. False, with the reason in errno.
bool SetUpStream(int stream, const StreamPlan& plan) {
    constexpr mode_t kMode = 0666;
    int opened = stream;
    switch (plan.kind) {
        case StreamPlan::Kind::AsItIs:
            return true;
        case StreamPlan::Kind::SameAsOutput:
            return ::dup2(STDOUT_FILENO, stream) != -1;
        case StreamPlan::Kind::SameAsError:
            return ::dup2(STDERR_FILENO, stream) != -1;
        case StreamPlan::Kind::Descriptor:
            return ::dup2(plan.descriptor, stream) != -1;
        case StreamPlan::Kind::FileToRead:
            opened = ::open(plan.path, O_RDONLY);
            break;
        case StreamPlan::Kind::Null:
            opened = ::open("/dev/null", O_RDWR);
            break;
        case StreamPlan::Kind::File:
            opened = ::open(plan.path, O_WRONLY | O_CREAT | O_TRUNC, kMode);
            break;
    }
    if (opened == -1) return false;
    if (opened == stream) return true;
    const bool done = ::dup2(opened, stream) != -1;
    ::close(opened);
    return done;
}

// In the child. Every other file of this process stays its own: it closes when the new program comes.
void KeepOnlyStreams() {
    constexpr unsigned kFirst = STDERR_FILENO + 1;
    constexpr unsigned kCloseOnExec = 1U << 2;
    if (::syscall(SYS_close_range, kFirst, ~0U, kCloseOnExec) == 0) return;
    // An older system has no such call: one by one, then.
    rlimit most{};
    constexpr rlim_t kMostAsked = 1U << 20;
    if (::getrlimit(RLIMIT_NOFILE, &most) != 0) return;
    const rlim_t end = most.rlim_cur < kMostAsked ? most.rlim_cur : kMostAsked;
    for (rlim_t descriptor = kFirst; descriptor < end; ++descriptor)
        (void)::fcntl(static_cast<int>(descriptor), F_SETFD, FD_CLOEXEC);
}

// In the child, where all signals are blocked. What this program ignores for its own sake, a child would inherit, which
// did not ask for it. Other ignored signals stay so, like SIGHUP under nohup: who ignored them meant the children too.
// A handler of this program must not run in the child, which still has this program's memory.
void SetUpSignals() {
    struct sigaction action {};
    for (int signal = 1; signal < NSIG; ++signal) {
        if (::sigaction(signal, nullptr, &action) != 0) continue;
        const bool isOurs = signal == SIGPIPE || signal == SIGCHLD;
        if (action.sa_handler == SIG_DFL || (action.sa_handler == SIG_IGN && !isOurs)) continue;
        action = {};
        action.sa_handler = SIG_DFL;
        (void)::sigaction(signal, &action, nullptr);
    }
    sigset_t none;
    ::sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
}

// In the child; comes back only with a failure, an errno value.
int Become(const SpawnPlan& plan) {
    if (plan.endsWithParent) {
        if (::prctl(PR_SET_PDEATHSIG, SIGKILL, 0, 0, 0) != 0) return errno;
        // A parent that died before the line above sends nothing any more.
        if (::getppid() != plan.parent) ::_exit(1);
    }
    const bool errorFirst = plan.streams[STDOUT_FILENO].kind == StreamPlan::Kind::SameAsError;
    for (const int stream :
         {STDIN_FILENO, errorFirst ? STDERR_FILENO : STDOUT_FILENO, errorFirst ? STDOUT_FILENO : STDERR_FILENO}) {
        if (!SetUpStream(stream, plan.streams[static_cast<std::size_t>(stream)])) return errno;
    }
    KeepOnlyStreams();
    SetUpSignals();
    ::execve(plan.program, plan.arguments, plan.environment);
    return errno;
}

// Makes the child. Returns 0 or an errno value, of the child's steps too.
//
// By vfork and not by posix_spawn, which has no step for the parent-death signal; and not by fork, which would copy the
// page tables of a parent that may have gigabytes. The calling thread stands still until the child runs its own program
// or is gone. What went wrong there comes through a pipe, as it would between two processes with memories of their own.
int Spawn(const SpawnPlan& plan, pid_t& id) {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) return errno;
    const UniqueDescriptor reading(ends[0]);
    UniqueDescriptor writing = AboveStreams(UniqueDescriptor(ends[1]));
    if (!writing) return errno;
    const int report = writing.Get();

    sigset_t all;
    sigset_t before;
    ::sigfillset(&all);
    if (const int error = ::pthread_sigmask(SIG_SETMASK, &all, &before); error != 0) return error;
    // What the child may do by the letter is less than what it does here; what counts on Linux is that it returns from
    // nothing, and that it is in memory that stands still meanwhile.
    const pid_t child = ::vfork();  // NOLINT(clang-analyzer-security.insecureAPI.vfork)
    if (child == 0) {
        const int failure = Become(plan);                   // NOLINT(clang-analyzer-unix.Vfork)
        (void)!::write(report, &failure, sizeof(failure));  // NOLINT(clang-analyzer-unix.Vfork)
        ::_exit(127);
    }
    const int refusal = child == -1 ? errno : 0;
    (void)::pthread_sigmask(SIG_SETMASK, &before, nullptr);
    if (refusal != 0) return refusal;

    writing.Reset();  // so that a child that runs its program shows as the end of the pipe
    int failure = 0;
    ssize_t count = 0;
    do {
        count = ::read(reading.Get(), &failure, sizeof(failure));
    } while (count == -1 && errno == EINTR);
    if (count != static_cast<ssize_t>(sizeof(failure))) {
        id = child;
        return 0;
    }
    while (::waitpid(child, nullptr, 0) == -1 && errno == EINTR) {
    }
    return failure;
}

std::vector<std::string> MergedEnvironment(const std::vector<std::pair<std::string, std::string>>& changes) {
    std::vector<std::string> result;
    for (char** entry = ::environ; entry != nullptr && *entry != nullptr; ++entry)
        result.emplace_back(*entry);
    for (const auto& [name, value] : changes) {
        const std::string beginning = name + "=";
        std::erase_if(result, [&](const std::string& entry) { return entry.starts_with(beginning); });
        result.push_back(beginning + value);
    }
    return result;
}

// The list that the system wants; the texts have to outlive it.
std::vector<char*> PointersTo(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    pointers.reserve(texts.size() + 1);
    for (std::string& text : texts)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

class SpawnedChildren final : public ChildProcesses {
 public:
    std::unique_ptr<ChildProcess> Start(const ChildStart& start, std::string& error) override {
        Abandoned().ReapEnded();
        pid_t id = 0;
        const int failure = SpawnAs(start, id);
        if (failure != 0) {
            error = TextOf(failure);
            return nullptr;
        }
        UniqueDescriptor process = OpenProcess(id);
        if (!process) {
            const int reason = errno;
            // Where the number is no child's any more, because SIGCHLD is ignored or somebody waits for all children,
            // it may become a stranger's: it is left alone.
            if (reason == ESRCH) return std::make_unique<SpawnedChild>(id);
            if (IsChild(id)) {
                ::kill(id, SIGKILL);
                ::waitpid(id, nullptr, 0);
            }
            error = TextOf(reason);
            return nullptr;
        }
        return std::make_unique<SpawnedChild>(std::move(process), id);
    }

 private:
    // Whether the number is still that of a child, ended or not.
    static bool IsChild(pid_t id) {
        siginfo_t info{};
        return ::waitid(P_PID, static_cast<id_t>(id), &info, WEXITED | WNOHANG | WNOWAIT) == 0;
    }

    static int SpawnAs(const ChildStart& start, pid_t& id) {
        std::vector<std::string> arguments = {start.program};
        if (!start.commandTail.empty()) arguments.push_back(start.commandTail);
        arguments.insert(arguments.end(), start.arguments.begin(), start.arguments.end());
        std::vector<std::string> environment = MergedEnvironment(start.environment);
        const std::vector<char*> argumentPointers = PointersTo(arguments);
        const std::vector<char*> environmentPointers = PointersTo(environment);

        SpawnPlan plan;
        plan.program = start.program.c_str();
        plan.arguments = argumentPointers.data();
        plan.environment = environmentPointers.data();
        plan.streams = {Inherited(STDIN_FILENO), To(STDOUT_FILENO, start.standardOutputPath),
                        To(STDERR_FILENO, start.standardErrorPath)};
        if (!start.standardErrorPath.empty() && start.standardErrorPath == start.standardOutputPath) {
            plan.streams[STDERR_FILENO] = {StreamPlan::Kind::SameAsOutput, nullptr, -1};
        }
        if (!start.standardInputPath.empty()) {
            plan.streams[STDIN_FILENO] = {StreamPlan::Kind::FileToRead, start.standardInputPath.c_str(), -1};
        }
        UniqueDescriptor writing;
        UniqueDescriptor reading;
        if (start.outputToError) {
            plan.streams[STDERR_FILENO] = To(STDERR_FILENO, start.standardErrorPath);
            plan.streams[STDOUT_FILENO] = {StreamPlan::Kind::SameAsError, nullptr, -1};
        } else if (start.standardOutputPipe != nullptr) {
            std::array<int, 2> ends{};
            if (::pipe2(ends.data(), O_CLOEXEC) != 0) return errno;
            reading = AboveStreams(UniqueDescriptor(ends[0]));
            writing = AboveStreams(UniqueDescriptor(ends[1]));
            if (!reading || !writing) return errno;
            plan.streams[STDOUT_FILENO] = {StreamPlan::Kind::Descriptor, nullptr, writing.Get()};
        }
        plan.endsWithParent = start.lifetime == Lifetime::ThisProcess;
        plan.parent = ::getpid();
        const int failure = Spawn(plan, id);
        if (failure == 0 && reading) *start.standardOutputPipe = std::make_unique<PipeEnd>(std::move(reading));
        return failure;
    }
};

}  // namespace

ChildProcesses& SystemChildProcesses() {
    static SpawnedChildren& children =
        *new SpawnedChildren;  // never destroyed: destructors of globals may still come here
    return children;
}

}  // namespace platform
