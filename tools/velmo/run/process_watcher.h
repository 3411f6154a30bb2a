#pragma once

#include <atomic>

#include "velmo_parent/inference_process.h"
#include "velmo_run/frame_belt.h"
#include "velmo_run/run_journal.h"
#include "velmo_run/stop_sign.h"

namespace velmo_run {

// Puts what the process says where it belongs: results onto the belt, the rest into the journal; raises the sign when
// the process ends by itself, or is silent for too long once it has answered its first Init.
class ProcessWatcher final : public velmo_parent::ProcessListener {
 public:
    // All outlive this. `maskBytes` is the model's size.
    ProcessWatcher(std::size_t maskBytes, FrameBelt& belt, RunJournal& journal, StopSign& stop)
        : m_maskBytes(maskBytes), m_belt(belt), m_journal(journal), m_stop(stop) {}

    void OnResult(const velmo_parent::Result& result) override;
    void OnFrameLost(const velmo_parent::LostFrame& lost) override;
    void OnMasksStale(const velmo_parent::StaleMasks& stale) override;
    void OnInit(const velmo_parent::InitAnswer& answer) override;
    void OnLogLine(const velmo_parent::LogLine& line) override;
    void OnNotice(const velmo_parent::Notice& notice) override;
    void OnSilence(const velmo_parent::Silence& silence) override;
    void OnEnded(const velmo_parent::ProcessEnd& end) override;
    void OnDamage(const std::string& what) override;

 private:
    const std::size_t m_maskBytes;
    FrameBelt& m_belt;
    RunJournal& m_journal;
    StopSign& m_stop;
    std::atomic<bool> m_isUp{false};
};

// How a process ended, in words, with its last log lines on lines of their own.
std::string TextOf(const velmo_parent::ProcessEnd& end);

}  // namespace velmo_run
