#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "velmo_parent/callback_scope.h"
#include "velmo_parent/inference_process.h"
#include "velmo_parent/link.h"
#include "velmo_parent/mask_freshness.h"
#include "velmo_parent/pairing.h"
#include "velmo_parent/skip_guard.h"

namespace velmo_parent {

// One process from its start to its end: the link, and what InferenceProcess knows beyond it.
//
// Threads: Start, AwaitEnd and Finish by one thread, the keeper, in this order; the rest by any, from construction on.
// The listener is called as ProcessListener tells, and no more once Finish has returned.
class ProcessRun final : private LinkListener, private ReceiveWatch {
 public:
    // `owner` marks callbacks; see CallbackScope.
    ProcessRun(std::string id, ProcessListener& listener, const void* owner, const Link::Seams& seams);

    Outcome Start(const ProcessStart& start);

    // From now on the listener is called: its owner knows this run, or has given it up. Before that calls wait.
    void Publish();

    // Waits for the process's end and until the listener has seen what it sent; tells of silence meanwhile.
    platform::ChildExit AwaitEnd(std::chrono::milliseconds silence);

    // Closes the channels and tells which frames are lost.
    ProcessEnd Finish(const platform::ChildExit& exit);

    const std::string& Id() const { return m_link.Id(); }
    std::uint32_t ProcessId() const { return m_link.ProcessId(); }

    InitStatus Init(const EngineRequest& request);
    std::optional<InitAnswer> AwaitInit(std::chrono::milliseconds patience);

    SubmitStatus Submit(const Frame& frame, ipc::function_ref<Writing(FramePlanes&)> writer);

    bool AwaitFrames(std::chrono::milliseconds patience);

    // Asks the process to end. False when the command could not be placed.
    bool AskToEnd();
    void Kill();

    Counts CountsSoFar() const;
    std::string DeviceInUse() const;

 private:
    static constexpr std::size_t kFamilies = 3;
    static constexpr std::size_t kLastLines = 20;

    // What a family has been found to be.
    struct Family {
        std::uint32_t pixels = 0;  // of its frames; 0 before its first good Init
        std::string device;        // of the engine in use
        std::string readyDevice;   // of the one that waits for its swap
    };

    void OnHeartBeat() override;
    void OnInit(std::uint32_t processId, std::int32_t result) override;
    void OnFrameResult(const calyr_ipc::OutputSlot& slot) override;
    void OnLogLine(const LogLine& line) override;
    void OnDamage(const std::string& what) override;

    void BeforeLook() override;
    void AfterLook() override;
    void BeforeGiving(std::int64_t pauseMs) override;
    void AfterGiving(std::uint64_t slots, std::int64_t pauseMs) override;

    SubmitStatus CheckSize(const FrameSize& size) const;
    enum class Filling { Done, Declined, TooLate };
    Filling FillSlot(calyr_ipc::InputSlot& slot, const Frame& frame, bool temporal, std::int64_t submittedNs,
                     ipc::function_ref<Writing(FramePlanes&)> writer);
    void TellResult(const calyr_ipc::OutputSlot& slot, const PendingFrame& frame);
    // Fills in what the slot says; `extras` has to live as long as `result`. False, with the damage told and no mask,
    // when it is no result of this size.
    bool ReadResult(const calyr_ipc::OutputSlot& slot, Result& result, std::optional<FullResult>& extras);
    void TellStaleness(const PendingFrame& frame, const MaskFreshness::Verdict& verdict);
    void TellLostFrames();
    void TellLost(const PendingFrame& frame, LossReason reason);
    void FollowNotice(Notice& notice, const LogLine& line);
    void HasTold();
    void AwaitPublication();
    void HeardOf();

    ProcessListener& m_listener;
    const void* const m_owner;

    std::mutex m_submitMutex;  // held for all of a Submit, so that what is decided in it holds; before m_mutex
    std::mutex m_initMutex;    // held for all of an Init, so that requests and commands have one order; before m_mutex

    mutable std::mutex m_mutex;  // guards what follows; nothing is called under it
    std::condition_variable m_changed;
    Pairing m_pairing;
    SkipGuard m_skipGuard;
    Counts m_counts;
    std::uint64_t m_framesTold = 0;            // the listener has returned from so many
    std::deque<EngineRequest> m_pendingInits;  // sent, and not answered
    std::optional<InitAnswer> m_lastAnswer;
    std::array<Family, kFamilies> m_families;
    std::size_t m_activeFamily = 0;
    std::deque<LogLine> m_lastLines;
    bool m_isOver = false;
    bool m_wasAsked = false;

    std::atomic<std::uint32_t> m_framePixels{0};  // what frames need; 0 while none would be inferred
    std::atomic<std::int64_t> m_lastHeardNs;
    std::atomic<bool> m_isPublished{false};
    std::atomic<bool> m_familyChanged{false};  // for the thread of the results, which keeps the freshness

    // Touched by the thread of the results, and by the keeper when that is gone.
    MaskFreshness m_freshness;
    SendProgress m_progress;  // when slots were given last, if that was after a pause
    std::int64_t m_progressNs = 0;
    // Touched by the thread of the log.
    std::uint32_t m_entryThread = 0;

    Link m_link;  // last: its threads use the rest
};

}  // namespace velmo_parent
