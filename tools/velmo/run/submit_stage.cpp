#include "velmo_run/submit_stage.h"

#include <algorithm>
#include <cstring>
#include <thread>
#include <utility>

namespace velmo_run {
namespace {

using Clock = std::chrono::steady_clock;
using velmo_parent::SubmitStatus;

constexpr std::chrono::milliseconds kLook{50};
constexpr std::chrono::milliseconds kRetry{10};
constexpr std::chrono::seconds kPatienceForTheEnd{10};

const char* TextOf(SubmitStatus status) {
    switch (status) {
        case SubmitStatus::WrongSize:
            return "the process takes no frames of this size";
        case SubmitStatus::NotReady:
            return "the process has no engine";
        default:
            return "the process takes no frames any more";
    }
}

}  // namespace

SubmitStage::SubmitStage(velmo_parent::InferenceProcess& process, velmo_parent::EngineRequest request,
                         const RunOptions& options, FrameBelt& belt, RunJournal& journal, StopSign& stop,
                         std::function<bool()> onLook)
    : m_process(process),
      m_request(std::move(request)),
      m_options(options),
      m_belt(belt),
      m_journal(journal),
      m_stop(stop),
      m_onLook(std::move(onLook)) {}

bool SubmitStage::GoesOn() {
    return m_onLook() && !m_stop.IsRaised();
}

void SubmitStage::Run() {
    std::uint64_t frame = 0;
    while (GoesOn()) {
        const FrameBelt::Look look = m_belt.Await(Stage::Submit, kLook);
        if (look == FrameBelt::Look::Ended) break;
        if (look == FrameBelt::Look::NotYet) continue;
        FrameSlot& slot = m_belt.Next(Stage::Submit);
        if (!AwaitPace(frame)) break;
        slot.ready = Clock::now();
        AskForSwaps(frame);
        if (!Submit(slot)) break;
        ++frame;
    }
    m_belt.Close(Stage::Submit);
}

bool SubmitStage::AwaitPace(std::uint64_t frame) {
    if (frame == 0) m_begin = Clock::now();
    if (m_options.fps <= 0) return true;
    const std::chrono::duration<double> behindFirst(static_cast<double>(frame) / m_options.fps);
    const Clock::time_point due = m_begin + std::chrono::duration_cast<Clock::duration>(behindFirst);
    for (Clock::time_point now = Clock::now(); now < due; now = Clock::now()) {
        std::this_thread::sleep_for(std::min<Clock::duration>(due - now, kLook));
        if (!GoesOn()) return false;
    }
    return true;
}

void SubmitStage::AskForSwaps(std::uint64_t frame) {
    while (m_nextSwap < m_options.swaps.size() && m_options.swaps[m_nextSwap].frame <= frame) {
        m_request.device = m_options.swaps[m_nextSwap].device;
        // With 31 commands waiting it is for the next frame to try again.
        if (m_process.Init(m_request) != velmo_parent::InitStatus::Sent) return;
        m_journal.KeepSwap({frame, m_request.device});
        ++m_nextSwap;
    }
}

bool SubmitStage::Submit(FrameSlot& slot) {
    while (!m_belt.AwaitFewerInFlight(m_options.framesInFlight, kLook)) {
        if (!GoesOn()) return false;
    }
    const velmo_parent::Frame frame{
        slot.record.index, velmo_parent::SizeOf(m_options.quality),
        m_options.mayReuseMasks ? velmo_parent::Skipping::Allowed : velmo_parent::Skipping::Off};
    const auto writer = [&slot](velmo_parent::FramePlanes& planes) {
        slot.record.waitingMs = std::chrono::duration<float, std::milli>(Clock::now() - slot.ready).count();
        for (std::size_t plane = 0; plane < planes.size(); ++plane)
            std::memcpy(planes[plane].data(), slot.planes[plane].data(), planes[plane].size());
    };
    m_belt.Complete(Stage::Submit);  // before it is sent: its result may come at once
    for (;;) {
        const std::uint64_t answered = m_belt.Completed(Stage::Answer);
        const SubmitStatus status = m_process.Submit(frame, writer);
        if (status == SubmitStatus::Sent) return true;
        if (status != SubmitStatus::Full && status != SubmitStatus::Settling) {
            // A process that has ended is about to say how.
            if (status == SubmitStatus::NotRunning) (void)m_journal.AwaitEnd(kPatienceForTheEnd);
            m_stop.Raise(TextOf(status));
            return false;
        }
        (void)m_belt.AwaitMore(Stage::Answer, answered, kRetry);
        if (!GoesOn()) return false;
    }
}

}  // namespace velmo_run
