#pragma once

#include <chrono>
#include <cstddef>
#include <functional>

#include "velmo_parent/inference_process.h"
#include "velmo_run/frame_belt.h"
#include "velmo_run/run_journal.h"
#include "velmo_run/run_options.h"
#include "velmo_run/stop_sign.h"

namespace velmo_run {

// Gives frames that have been read to the process, at their pace, and asks for other engines on the way.
class SubmitStage {
 public:
    // All outlive this. `request` is what the engine in use was asked for with. `onLook` is called several times a
    // second while frames go on, and says whether to go on.
    SubmitStage(velmo_parent::InferenceProcess& process, velmo_parent::EngineRequest request, const RunOptions& options,
                FrameBelt& belt, RunJournal& journal, StopSign& stop, std::function<bool()> onLook);

    // Until there are no frames any more, the sign is up or onLook says so. Closes the stage. Thread: its own.
    void Run();

 private:
    bool AwaitPace(std::uint64_t frame);
    void AskForSwaps(std::uint64_t frame);
    bool Submit(FrameSlot& slot);
    bool GoesOn();

    velmo_parent::InferenceProcess& m_process;
    velmo_parent::EngineRequest m_request;
    const RunOptions& m_options;
    FrameBelt& m_belt;
    RunJournal& m_journal;
    StopSign& m_stop;
    std::function<bool()> m_onLook;
    std::size_t m_nextSwap = 0;
    std::chrono::steady_clock::time_point m_begin{};  // of the first frame
};

}  // namespace velmo_run
