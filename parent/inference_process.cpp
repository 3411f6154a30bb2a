#include "velmo_parent/inference_process.h"

#include <atomic>
#include <condition_variable>
#include <mutex>

#include "velmo_parent/callback_scope.h"
#include "velmo_parent/process_run.h"
#include "velmo_parent/steady_wait.h"

namespace velmo_parent {
namespace {

using Kind = CallbackScope::Kind;

constexpr std::chrono::milliseconds kLastPatience{2000};  // of the destructor

// Of all ids that this program makes.
std::uint32_t NextNumber() {
    static std::atomic<std::uint32_t> number{0};
    return ++number;
}

}  // namespace

FrameSize SizeOf(ModelQuality quality) {
    return quality == ModelQuality::Low ? FrameSize{256, 144} : FrameSize{640, 360};
}

// The keeper is a thread of its own because on Linux the process is tied to the very thread that starts it; and because
// somebody has to wait for its end.
class InferenceProcess::Implementation {
 public:
    Implementation(ProcessOptions options, ProcessListener& listener)
        : m_options(std::move(options)), m_listener(listener) {}

    ~Implementation() {
        {
            const std::lock_guard lock(m_mutex);
            m_quit = true;  // from now on OnEnded can't start another
        }
        m_changed.notify_all();
        (void)Stop(kLastPatience);
        if (m_keeper) (void)m_keeper->Join();
    }

    Outcome Start() {
        switch (CallbackScope::Of(this)) {
            case Kind::None:
                break;
            case Kind::Ended:
                return StartHere();  // on the keeper itself, which looks at it as soon as the callback returns
            default:
                return Outcome::Failure("Start was called by a callback that the process waits for");
        }
        const std::lock_guard order(m_startMutex);
        std::unique_lock lock(m_mutex);
        if (!m_keeper) {
            m_keeper = platform::SystemThreads().Start([this] { Keep(); });
            if (!m_keeper) return Outcome::Failure("no thread for the keeper");
        }
        m_changed.wait(lock, [this] { return !m_isEnding; });  // so that a start behind OnEnded doesn't come too early
        if (m_run) return Outcome::Failure("a process runs already");
        m_startResult.reset();
        m_wantsStart = true;
        m_changed.notify_all();
        m_changed.wait(lock, [this] { return m_startResult.has_value(); });
        return *m_startResult;
    }

    std::optional<ProcessEnd> Stop(std::chrono::milliseconds patience) {
        if (CallbackScope::Of(this) != Kind::None) return std::nullopt;
        std::shared_ptr<ProcessRun> run;
        bool isAsked = false;
        {
            const std::lock_guard lock(m_mutex);
            run = m_run ? m_run : m_ending;
            isAsked = !m_run;  // one that has ended already is told of still: that is waited for
        }
        if (!run) return std::nullopt;
        const auto deadline = DeadlineIn(patience);
        if (!isAsked) isAsked = run->AskToEnd();
        std::unique_lock lock(m_mutex);
        const auto hasEnded = [&] { return m_run != run && m_ending != run; };
        while (!hasEnded()) {
            constexpr std::chrono::milliseconds kBetweenTries{10};
            const auto next = isAsked ? deadline : std::min(deadline, DeadlineIn(kBetweenTries));
            if (WaitUntil(m_changed, lock, next, hasEnded)) break;
            lock.unlock();
            if (std::chrono::steady_clock::now() >= deadline) {
                run->Kill();
                lock.lock();
                m_changed.wait(lock, hasEnded);
                break;
            }
            isAsked = run->AskToEnd();
            lock.lock();
        }
        return m_lastEnd;
    }

    std::shared_ptr<ProcessRun> Run() const {
        const std::lock_guard lock(m_mutex);
        return m_run;
    }

    std::string LastId() const {
        const std::lock_guard lock(m_mutex);
        return m_lastRun ? m_lastRun->Id() : "";
    }

    // Also one that has ended: what it has come to can still be asked.
    std::shared_ptr<ProcessRun> LastRun() const {
        const std::lock_guard lock(m_mutex);
        return m_lastRun;
    }

 private:
    // The keeper's thread.
    void Keep() {
        std::unique_lock lock(m_mutex);
        for (;;) {
            m_changed.wait(lock, [this] { return m_quit || m_wantsStart || m_run; });
            if (m_wantsStart) {
                m_wantsStart = false;
                lock.unlock();
                Outcome outcome = StartHere();
                lock.lock();
                m_startResult = std::move(outcome);
                m_changed.notify_all();
            }
            if (m_run) {
                const std::shared_ptr<ProcessRun> run = m_run;
                lock.unlock();
                SeeToItsEnd(run);
                lock.lock();
            } else if (m_quit) {
                return;
            }
        }
    }

    Outcome StartHere() {
        {
            const std::lock_guard lock(m_mutex);
            if (m_quit) return Outcome::Failure("this object is being destroyed");
            if (m_run) return Outcome::Failure("a process runs already");
        }
        const std::string id = m_options.idPrefix + "-" + std::to_string(platform::CurrentProcessId()) + "-" +
                               std::to_string(NextNumber());
        const auto run = std::make_shared<ProcessRun>(id, m_listener, this, Link::Seams{});
        struct Publication {
            ProcessRun& run;
            ~Publication() { run.Publish(); }
        } const publication{*run};  // its callbacks wait for m_run, or for the news that there will be none
        Outcome outcome = run->Start(
            {.program = m_options.program,
             .environment = m_options.environment,
             .standardOutputPath = m_options.standardOutputPath,
             .standardErrorPath = m_options.standardErrorPath,
             .outputToError = m_options.outputToError,
             .lifetime = m_options.endsWithThisProgram ? platform::Lifetime::ThisProcess : platform::Lifetime::ItsOwn});
        if (!outcome) return outcome;
        bool isTooLate = false;
        {
            const std::lock_guard lock(m_mutex);
            m_lastRun = run;
            m_run = run;
            isTooLate = m_quit;
        }
        if (isTooLate) run->Kill();  // whoever destroys this object has not seen it
        return outcome;
    }

    void SeeToItsEnd(const std::shared_ptr<ProcessRun>& run) {
        const platform::ChildExit exit = run->AwaitEnd(m_options.silence);
        {
            const std::lock_guard lock(m_mutex);
            m_run.reset();  // nothing is sent any more
            m_ending = run;
            m_isEnding = true;
        }
        const ProcessEnd end = run->Finish(exit);
        {
            const std::lock_guard lock(m_mutex);
            m_lastEnd = end;
        }
        {
            const CallbackScope scope(this, Kind::Ended);
            m_listener.OnEnded(end);
        }
        const std::lock_guard lock(m_mutex);
        m_ending.reset();
        m_isEnding = false;
        m_changed.notify_all();
    }

    const ProcessOptions m_options;
    ProcessListener& m_listener;
    std::mutex m_startMutex;  // one Start at a time; before m_mutex

    mutable std::mutex m_mutex;  // guards the rest; nothing is called under it
    std::condition_variable m_changed;
    std::unique_ptr<platform::Thread> m_keeper;  // made by the first Start
    bool m_quit = false;
    bool m_wantsStart = false;
    std::optional<Outcome> m_startResult;
    std::shared_ptr<ProcessRun> m_run;     // that runs
    std::shared_ptr<ProcessRun> m_ending;  // that has ended and is being told of
    bool m_isEnding = false;
    std::shared_ptr<ProcessRun> m_lastRun;
    std::optional<ProcessEnd> m_lastEnd;
};

InferenceProcess::InferenceProcess(ProcessOptions options, ProcessListener& listener)
    : m_implementation(std::make_unique<Implementation>(std::move(options), listener)) {}

InferenceProcess::~InferenceProcess() = default;

Outcome InferenceProcess::Start() {
    return m_implementation->Start();
}

InitStatus InferenceProcess::Init(const EngineRequest& request) {
    const auto run = m_implementation->Run();
    return run ? run->Init(request) : InitStatus::NotRunning;
}

std::optional<InitAnswer> InferenceProcess::AwaitInit(std::chrono::milliseconds patience) {
    if (CallbackScope::Of(m_implementation.get()) != Kind::None) return std::nullopt;
    const auto run = m_implementation->Run();
    return run ? run->AwaitInit(patience) : std::nullopt;
}

SubmitStatus InferenceProcess::SubmitBy(const Frame& frame, WriterCall call, void* object) {
    const auto run = m_implementation->Run();
    if (!run) return SubmitStatus::NotRunning;
    return run->Submit(frame, [&](FramePlanes& planes) { return call(object, planes); });
}

bool InferenceProcess::AwaitFrames(std::chrono::milliseconds patience) {
    if (CallbackScope::Of(m_implementation.get()) != Kind::None) return false;
    const auto run = m_implementation->LastRun();
    return !run || run->AwaitFrames(patience);
}

std::optional<ProcessEnd> InferenceProcess::Stop(std::chrono::milliseconds patience) {
    return m_implementation->Stop(patience);
}

void InferenceProcess::Kill() {
    if (const auto run = m_implementation->Run()) run->Kill();
}

ProcessState InferenceProcess::State() const {
    return m_implementation->Run() ? ProcessState::Running : ProcessState::NotRunning;
}

std::uint32_t InferenceProcess::ProcessId() const {
    const auto run = m_implementation->Run();
    return run ? run->ProcessId() : 0;
}

std::string InferenceProcess::Id() const {
    return m_implementation->LastId();
}

Counts InferenceProcess::CountsSoFar() const {
    const auto run = m_implementation->LastRun();
    return run ? run->CountsSoFar() : Counts{};
}

std::string InferenceProcess::DeviceInUse() const {
    const auto run = m_implementation->LastRun();
    return run ? run->DeviceInUse() : "";
}

}  // namespace velmo_parent
