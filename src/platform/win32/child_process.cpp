#include "platform/win32/child_process.h"

#include <windows.h>

#include <array>
#include <cstdint>
#include <map>
#include <mutex>
#include <utility>

#include "platform/win32/unique_handle.h"
#include "platform/win32/wide_text.h"

namespace platform {
namespace {

using win32::ToWide;
using win32::UniqueHandle;

class CreatedChild final : public ChildProcess {
 public:
    CreatedChild(UniqueHandle process, DWORD id) : m_process(std::move(process)), m_id(id) {}

    std::uint32_t Id() const override { return m_id; }

    std::optional<ChildExit> WaitForExit(std::uint32_t timeoutMs) override {
        const DWORD outcome = ::WaitForSingleObject(m_process.Get(), timeoutMs);
        if (outcome == WAIT_TIMEOUT) return std::nullopt;
        DWORD code = 0;
        // A wait fails when the handle was taken away from us: waiting on would never end.
        if (outcome != WAIT_OBJECT_0 || ::GetExitCodeProcess(m_process.Get(), &code) == 0) {
            return ChildExit{kUnknownExitCode, 0};
        }
        return ChildExit{static_cast<std::int32_t>(code), 0};
    }

    void Kill() override { ::TerminateProcess(m_process.Get(), 1); }

 private:
    UniqueHandle m_process;
    DWORD m_id;
};

struct IgnoringCase {
    bool operator()(const std::wstring& left, const std::wstring& right) const {
        return ::CompareStringOrdinal(left.c_str(), -1, right.c_str(), -1, TRUE) == CSTR_LESS_THAN;
    }
};

// This process's environment with the changes, as the system takes it: "name=value" texts one behind the other, each
// terminated, sorted without regard to case, and one more terminator. Names of drives' folders begin with "="
// themselves.
std::wstring MergedEnvironment(const std::vector<std::pair<std::string, std::string>>& changes) {
    std::map<std::wstring, std::wstring, IgnoringCase> variables;
    wchar_t* const inherited = ::GetEnvironmentStringsW();
    for (const wchar_t* entry = inherited; entry != nullptr && *entry != L'\0';) {
        const std::wstring text = entry;
        const std::size_t equals = text.find(L'=', 1);
        if (equals != std::wstring::npos) variables[text.substr(0, equals)] = text.substr(equals + 1);
        entry += text.size() + 1;
    }
    if (inherited != nullptr) ::FreeEnvironmentStringsW(inherited);
    for (const auto& [name, value] : changes)
        variables[ToWide(CP_UTF8, name)] = ToWide(CP_UTF8, value);

    std::wstring block;
    for (const auto& [name, value] : variables) {
        block += name;
        block += L'=';
        block += value;
        block += L'\0';
    }
    block += L'\0';
    return block;
}

// A handle of this process's own stream that a child can take over; none when the stream has nothing behind it.
UniqueHandle InheritableStream(DWORD stream) {
    HANDLE const own = ::GetStdHandle(stream);
    HANDLE copy = nullptr;
    if (own == nullptr || own == INVALID_HANDLE_VALUE) return {};
    HANDLE const self = ::GetCurrentProcess();
    if (::DuplicateHandle(self, own, self, &copy, 0, TRUE, DUPLICATE_SAME_ACCESS) == 0) return {};
    return UniqueHandle(copy);
}

// `access` is GENERIC_WRITE, for a file that is made or emptied, or GENERIC_READ, for one that is there.
UniqueHandle InheritableFile(const std::string& path, DWORD access) {
    SECURITY_ATTRIBUTES attributes{sizeof(attributes), nullptr, TRUE};
    constexpr DWORD kSharing = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    return UniqueHandle(::CreateFileW(ToWide(CP_UTF8, path).c_str(), access, kSharing, &attributes,
                                      access == GENERIC_READ ? OPEN_EXISTING : CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL,
                                      nullptr));
}

class PipeEnd final : public ChildPipe {
 public:
    explicit PipeEnd(UniqueHandle handle) : m_handle(std::move(handle)) {}

    std::size_t Read(void* buffer, std::size_t bytes) override {
        constexpr std::size_t kMost = 1U << 20;
        DWORD count = 0;
        // Fails once nobody holds the other end.
        const BOOL done =
            ::ReadFile(m_handle.Get(), buffer, static_cast<DWORD>(bytes < kMost ? bytes : kMost), &count, nullptr);
        return done != 0 ? count : 0;
    }

 private:
    UniqueHandle m_handle;
};

// One argument as the runtime of the started program takes command lines apart: backslashes count as such unless a
// quote follows, which ends their run.
std::wstring Quoted(const std::wstring& argument) {
    std::wstring quoted = L" \"";
    std::size_t backslashes = 0;
    for (const wchar_t one : argument) {
        if (one == L'"') quoted.append(backslashes + 1, L'\\');
        backslashes = one == L'\\' ? backslashes + 1 : 0;
        quoted += one;
    }
    quoted.append(backslashes, L'\\');
    return quoted + L'"';
}

// What the system is told of a child beyond its parameters: a list of attributes. Their values have to live until the
// child is created.
class Attributes {
 public:
    Attributes() = default;
    Attributes(const Attributes&) = delete;
    Attributes& operator=(const Attributes&) = delete;
    ~Attributes() {
        if (m_list != nullptr) ::DeleteProcThreadAttributeList(m_list);
    }

    // False when the system refuses; the reason is in GetLastError.
    bool Set(DWORD_PTR attribute, void* value, std::size_t bytes) {
        return Make() && ::UpdateProcThreadAttribute(m_list, 0, attribute, value, bytes, nullptr, nullptr) != 0;
    }

    // Null when nothing was to be set.
    LPPROC_THREAD_ATTRIBUTE_LIST List() const { return m_list; }

 private:
    static constexpr DWORD kMost = 2;

    bool Make() {
        if (m_list != nullptr) return true;
        SIZE_T bytes = 0;
        ::InitializeProcThreadAttributeList(nullptr, kMost, 0, &bytes);
        m_memory.resize(bytes);
        auto* const list = reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(m_memory.data());
        if (::InitializeProcThreadAttributeList(list, kMost, 0, &bytes) == 0) return false;
        m_list = list;
        return true;
    }

    std::vector<unsigned char> m_memory;  // what m_list points at
    LPPROC_THREAD_ATTRIBUTE_LIST m_list = nullptr;
};

// The three streams of a child.
class ChildStreams {
 public:
    // False when a file can't be made or the system refuses; the reason is in GetLastError.
    bool Open(const ChildStart& start) {
        const bool isPiped = !start.outputToError && start.standardOutputPipe != nullptr;
        m_outputIsError = start.outputToError;
        m_errorIsOutput = !m_outputIsError && !isPiped && !start.standardErrorPath.empty() &&
                          start.standardErrorPath == start.standardOutputPath;
        if (!OpenStream(start.standardInputPath, GENERIC_READ, STD_INPUT_HANDLE, m_input)) return false;
        if (isPiped && !OpenPipe()) return false;
        if (!isPiped && !m_outputIsError &&
            !OpenStream(start.standardOutputPath, GENERIC_WRITE, STD_OUTPUT_HANDLE, m_output)) {
            return false;
        }
        if (!m_errorIsOutput && !OpenStream(start.standardErrorPath, GENERIC_WRITE, STD_ERROR_HANDLE, m_error)) {
            return false;
        }
        for (const UniqueHandle* handle : {&m_input, &m_output, &m_error}) {
            if (CanBeListed(*handle)) m_handles[m_count++] = handle->Get();
        }
        return true;
    }

    // The end to read from, where there is a pipe.
    UniqueHandle TakePipe() { return std::move(m_pipe); }

    // Whether there is any handle to hand over.
    bool Any() const { return m_count > 0; }

    // Says that the child gets these handles and no other, whatever else in this process can be inherited. False when
    // the system refuses; the reason is in GetLastError.
    bool Describe(STARTUPINFOEXW& info, Attributes& attributes) {
        if (!Any()) return true;
        info.StartupInfo.dwFlags |= STARTF_USESTDHANDLES;
        info.StartupInfo.hStdInput = m_input.Get();
        info.StartupInfo.hStdOutput = m_outputIsError ? m_error.Get() : m_output.Get();
        info.StartupInfo.hStdError = m_errorIsOutput ? m_output.Get() : m_error.Get();
        return attributes.Set(PROC_THREAD_ATTRIBUTE_HANDLE_LIST, m_handles.data(), m_count * sizeof(HANDLE));
    }

 private:
    // Up to Windows 7 a console's handle is no handle of the kernel, which shows in its two lowest bits: a list with
    // one in it is refused, and a child has its parent's console without.
    static bool CanBeListed(const UniqueHandle& handle) {
        return handle && (reinterpret_cast<std::uintptr_t>(handle.Get()) & 3U) != 3U;
    }

    // The file, or this program's own stream, which there may not be, when no file is named.
    static bool OpenStream(const std::string& path, DWORD access, DWORD own, UniqueHandle& stream) {
        stream = path.empty() ? InheritableStream(own) : InheritableFile(path, access);
        return stream || path.empty();
    }

    bool OpenPipe() {
        SECURITY_ATTRIBUTES attributes{sizeof(attributes), nullptr, TRUE};
        HANDLE reading = nullptr;
        HANDLE writing = nullptr;
        constexpr DWORD kBufferBytes = 1U << 16;
        if (::CreatePipe(&reading, &writing, &attributes, kBufferBytes) == 0) return false;
        m_pipe = UniqueHandle(reading);
        m_output = UniqueHandle(writing);
        return ::SetHandleInformation(reading, HANDLE_FLAG_INHERIT, 0) != 0;
    }

    UniqueHandle m_input;
    UniqueHandle m_output;
    UniqueHandle m_error;
    UniqueHandle m_pipe;  // the child does not get it
    bool m_errorIsOutput = false;
    bool m_outputIsError = false;
    std::array<HANDLE, 3> m_handles{};
    std::size_t m_count = 0;
};

// PROC_THREAD_ATTRIBUTE_JOB_LIST of the headers for Windows 10: the jobs that a child is in from its creation on. Older
// systems refuse it.
constexpr DWORD_PTR kJobList = 0x0002000D;

// The job that ends its members when its last handle is closed: the system does that with this process's end. None when
// the system refuses; the reason is in GetLastError.
UniqueHandle MakeJob() {
    UniqueHandle job(::CreateJobObjectW(nullptr, nullptr));
    if (!job) return {};
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
    limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
    if (::SetInformationJobObject(job.Get(), JobObjectExtendedLimitInformation, &limits, sizeof(limits)) == 0)
        return {};
    return job;
}

class CreatedChildren final : public ChildProcesses {
 public:
    explicit CreatedChildren(win32::Tying tying = {}) : m_tying(std::move(tying)) {}

    std::unique_ptr<ChildProcess> Start(const ChildStart& start, std::string& error) override {
        const bool isTied = start.lifetime == Lifetime::ThisProcess;
        ChildStreams streams;
        HANDLE job = nullptr;
        PROCESS_INFORMATION created{};
        // The system's words alone don't tell a missing program, whose failure has no step in front, from a missing
        // folder of its output.
        const auto refuse = [&error](const char* step, DWORD failure) {
            error = step + win32::ErrorText(failure);
            return nullptr;
        };
        if (!streams.Open(start)) return refuse("its streams: ", ::GetLastError());
        if (isTied && (job = Job()) == nullptr) return refuse("the job for it: ", ::GetLastError());
        const DWORD failure = Create(start, streams, job, created);
        if (failure != ERROR_SUCCESS) return refuse("", failure);
        const UniqueHandle thread(created.hThread);
        auto child = std::make_unique<CreatedChild>(UniqueHandle(created.hProcess), created.dwProcessId);
        if (isTied) {
            if (m_tying.onCreated) m_tying.onCreated(created.dwProcessId);
            const DWORD refusal = TieAndRun(job, created.hProcess, created.hThread);
            if (refusal != ERROR_SUCCESS) {
                child->Kill();
                return refuse("tying it: ", refusal);
            }
        }
        if (UniqueHandle pipe = streams.TakePipe()) {
            *start.standardOutputPipe = std::make_unique<PipeEnd>(std::move(pipe));
        }
        return child;
    }

 private:
    // Null when the system refuses; the reason is in GetLastError.
    HANDLE Job() {
        const std::lock_guard lock(m_mutex);
        if (!m_job) m_job = MakeJob();
        return m_job.Get();
    }

    // For a child that was created without running: it can't run before it is in the job. Where the system could do it,
    // it has been there from the start. Gives the system's error number.
    static DWORD TieAndRun(HANDLE job, HANDLE process, HANDLE thread) {
        BOOL isInJob = FALSE;
        const bool isTied = ::IsProcessInJob(process, job, &isInJob) != 0 && isInJob != FALSE;
        if (!isTied && ::AssignProcessToJobObject(job, process) == 0) return ::GetLastError();
        return ::ResumeThread(thread) != static_cast<DWORD>(-1) ? ERROR_SUCCESS : ::GetLastError();
    }

    // `job` is null for a child with a life of its own. Gives the system's error number; asked for at once, before the
    // texts below are released.
    DWORD Create(const ChildStart& start, ChildStreams& streams, HANDLE job, PROCESS_INFORMATION& created) const {
        const std::wstring program = ToWide(CP_UTF8, start.program);
        std::wstring commandLine = L"\"" + program + L"\"";
        if (!start.commandTail.empty()) commandLine += L" " + ToWide(CP_THREAD_ACP, start.commandTail);
        for (const std::string& argument : start.arguments)
            commandLine += Quoted(ToWide(CP_UTF8, argument));
        std::wstring environment = MergedEnvironment(start.environment);
        STARTUPINFOEXW info{};
        info.StartupInfo.cb = sizeof(info);
        Attributes attributes;
        if (!streams.Describe(info, attributes)) return ::GetLastError();
        if (job != nullptr && m_tying.atCreation) {
            (void)attributes.Set(kJobList, &job, sizeof(job));  // refused before Windows 10: it is assigned behind this
        }
        info.lpAttributeList = attributes.List();
        constexpr DWORD kAlways = CREATE_UNICODE_ENVIRONMENT | EXTENDED_STARTUPINFO_PRESENT;
        const DWORD flags = kAlways | (job != nullptr ? CREATE_SUSPENDED : 0U);
        const BOOL done =
            ::CreateProcessW(program.c_str(), commandLine.data(), nullptr, nullptr, streams.Any() ? TRUE : FALSE, flags,
                             environment.data(), nullptr, &info.StartupInfo, &created);
        return done != 0 ? ERROR_SUCCESS : ::GetLastError();
    }

    const win32::Tying m_tying;
    std::mutex m_mutex;
    UniqueHandle m_job;  // one for all; guarded by m_mutex. The system's object is never destroyed, so it goes with the
                         // process
};

}  // namespace

std::unique_ptr<ChildProcesses> win32::MakeChildProcesses(Tying tying) {
    return std::make_unique<CreatedChildren>(std::move(tying));
}

ChildProcesses& SystemChildProcesses() {
    static CreatedChildren& children =
        *new CreatedChildren;  // never destroyed: destructors of globals may still come here
    return children;
}

}  // namespace platform
