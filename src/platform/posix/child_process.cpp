#include "platform/child_process.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

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

// What the child's descriptors and signals are to be.
class SpawnPlan {
 public:
    SpawnPlan() {
        ::posix_spawn_file_actions_init(&m_files);
        ::posix_spawnattr_init(&m_attributes);
    }
    SpawnPlan(const SpawnPlan&) = delete;
    SpawnPlan& operator=(const SpawnPlan&) = delete;
    ~SpawnPlan() {
        ::posix_spawnattr_destroy(&m_attributes);
        ::posix_spawn_file_actions_destroy(&m_files);
    }

    // All return 0 or an errno value.
    int SendTo(int stream, const std::string& path) {
        if (path.empty()) return Inherit(stream);
        constexpr mode_t kMode = 0666;
        return ::posix_spawn_file_actions_addopen(&m_files, stream, path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, kMode);
    }

    // A child never starts with a stream closed, since its first file would get that number and what it prints.
    int Inherit(int stream) {
        const int flags = ::fcntl(stream, F_GETFD);
        if (flags != -1 && (flags & FD_CLOEXEC) == 0) return 0;
        return ::posix_spawn_file_actions_addopen(&m_files, stream, "/dev/null", O_RDWR, 0);
    }

    int SendToSame(int stream, int other) { return ::posix_spawn_file_actions_adddup2(&m_files, other, stream); }

    int KeepOnlyStreams() { return ::posix_spawn_file_actions_addclosefrom_np(&m_files, STDERR_FILENO + 1); }

    // What this program ignores for its own sake, and blocks, a child would inherit, which did not ask for it. Other
    // ignored signals stay so, like SIGHUP under nohup: who ignored them meant the children too.
    int GiveDefaultSignals() {
        sigset_t defaults;
        sigset_t blocked;
        ::sigemptyset(&defaults);
        ::sigaddset(&defaults, SIGPIPE);
        ::sigaddset(&defaults, SIGCHLD);
        ::sigemptyset(&blocked);
        int error = ::posix_spawnattr_setsigdefault(&m_attributes, &defaults);
        if (error == 0) error = ::posix_spawnattr_setsigmask(&m_attributes, &blocked);
        if (error == 0) {
            error = ::posix_spawnattr_setflags(&m_attributes, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
        }
        return error;
    }

    int Spawn(pid_t& id, const std::string& program, char* const* arguments, char* const* environment) const {
        return ::posix_spawn(&id, program.c_str(), &m_files, &m_attributes, arguments, environment);
    }

 private:
    posix_spawn_file_actions_t m_files{};
    posix_spawnattr_t m_attributes{};
};

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
        const int failure = Spawn(start, id);
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

    static int Spawn(const ChildStart& start, pid_t& id) {
        SpawnPlan plan;
        int failure = plan.Inherit(STDIN_FILENO);
        if (failure == 0) failure = plan.SendTo(STDOUT_FILENO, start.standardOutputPath);
        if (failure == 0) {
            const bool same = !start.standardErrorPath.empty() && start.standardErrorPath == start.standardOutputPath;
            failure = same ? plan.SendToSame(STDERR_FILENO, STDOUT_FILENO)
                           : plan.SendTo(STDERR_FILENO, start.standardErrorPath);
        }
        if (failure == 0) failure = plan.KeepOnlyStreams();
        if (failure == 0) failure = plan.GiveDefaultSignals();
        if (failure != 0) return failure;

        std::vector<std::string> arguments = {start.program};
        if (!start.commandTail.empty()) arguments.push_back(start.commandTail);
        std::vector<std::string> environment = MergedEnvironment(start.environment);
        const std::vector<char*> argumentPointers = PointersTo(arguments);
        const std::vector<char*> environmentPointers = PointersTo(environment);
        return plan.Spawn(id, start.program, argumentPointers.data(), environmentPointers.data());
    }
};

}  // namespace

ChildProcesses& SystemChildProcesses() {
    static SpawnedChildren& children =
        *new SpawnedChildren;  // never destroyed: destructors of globals may still come here
    return children;
}

}  // namespace platform
