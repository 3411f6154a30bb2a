#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

#include "helpers/calyr_helper.h"
#include "helpers/hvq_output.h"
#include "host/host_seams.h"
#include "infra/abstract_timer_sink.h"
#include "infra/logger.h"
#include "infra/singleton.h"
#include "infra/timer.h"
#include "infra/trace_sink.h"
#include "ipc/channels.h"
#include "ipc/listeners.h"
#include "ipc/reader_thread.h"

namespace rvo_calyr {

// The object that ties the process together: it owns the five channels to the parent and the heartbeat's timer, runs
// the command loop, takes the frames, and carries every log line to the parent.
//
// Threads: the entry thread constructs it and calls Attach, Start and Stop; commands are handled on it, inside Start.
// Frames arrive on the reader's thread, OnTimer on the timer's, OnTrace on whichever thread logs.
// Locks: m_ipcMutex before m_logMutex, never the other way round. A log line takes m_logMutex, so it may be written
// with m_ipcMutex held.
//
// The process has one, GetInstance(). It is an ordinary class all the same: a test builds its own. The logger's sink is
// the one that was built last.
class RvoCalyrMlHost final : public calyr_ipc::IpcCommandListener,
                             public calyr_ipc::IpcInputFrameListener,
                             public IRvoCalyrTraceSink,
                             public infra::AbstractTimerSink,
                             public infra::Singleton<RvoCalyrMlHost, infra::NeedDestructor> {
 public:
    // Sets the logger's level to 2 and becomes its sink: from now on log lines go to the parent or, without a log
    // channel, nowhere.
    explicit RvoCalyrMlHost(const HostSeams& seams = HostSeams());
    ~RvoCalyrMlHost() override;
    RvoCalyrMlHost(const RvoCalyrMlHost&) = delete;
    RvoCalyrMlHost& operator=(const RvoCalyrMlHost&) = delete;

    // Opens the channels. Returns 0; or 3, with a line on standard output and every channel closed again.
    int Attach(const std::string& ipcId);

    // Opens the command, input, event and output channels in this order, starts the frame reader, and opens the log
    // channel. Stops at the first that fails and returns false; what stands is then closed by CloseIpc.
    // Takes m_ipcMutex, then m_logMutex, never both. Throws std::system_error when the reader's thread can't start.
    bool InitIpc(const std::string& ipcId);

    // Starts the heartbeat and runs the command loop until m_stop is set, which it sees within about a second. Returns
    // 0. Throws std::system_error when the timer can't start, and std::bad_variant_access for a slot without a command.
    std::uint32_t Start();

    // Winds down: the timer, the frame reader (a frame in work is finished first), the output object, the channels, the
    // log sink; in this order. May be repeated. Returns 0.
    std::uint32_t Stop();

    // Wakes whoever waits on a channel and lets go of it: command, input, event, output, and then log. May be repeated.
    // Takes m_ipcMutex, then m_logMutex, never both.
    void CloseIpc();

    // The process's result: 0, or -1 once the watchdog has given up.
    int ExitCode() const { return m_exitCode.load(); }

    // The command handlers. Thread: the entry thread, out of Start.
    // Init chooses the helper, hands it the option, and answers with an IpcEventOnInit. Takes m_ipcMutex for its whole
    // length.
    void Init(const _CalyrPortraitOption& option) override;
    // Only logs: the frame path and the heartbeat go on.
    void Fini(const calyr_ipc::IpcCommandFini& record) override;
    void AckHeartBeat(const calyr_ipc::IpcCommandAckHeartBeat& record) override;
    void Terminate(const calyr_ipc::IpcCommandTerminate& record) override;

    // One frame, which lies in its slot until this returns: has the helper work on it, if there is one, and sends one
    // result, for which it waits up to 500 ms for a free slot. What the helper throws is passed on. Takes m_ipcMutex
    // for its whole length. Thread: the frame reader's.
    void OnInputFrame(RvoHvqInput& input) override;

    // Sends a log line to the parent, in as many chunks as it needs, and waits without limit while the channel is full.
    // A line is dropped while there is no log channel. Takes m_logMutex. Thread: any.
    std::int32_t OnTrace(std::uint32_t level, const char* text) override;

    // One second has passed: sends a heartbeat, or ends the process when six went without an answer.
    // Takes m_ipcMutex. Thread: the timer's.
    void OnTimer(infra::Timer& timer) override;

 private:
    // Opens one channel of the link. Null when that failed.
    template <class Channel>
    std::shared_ptr<Channel> OpenChannel(const std::string& ipcId, const char* suffix, std::int32_t role);

    // Picks the helper by the option's model type and hands it the option. Returns the status for the parent. Lock:
    // m_ipcMutex held.
    std::uint32_t InitHelper(const _CalyrPortraitOption& option);

    // What the frame reader does with one slot, in place. Throws std::bad_variant_access for a slot without a frame.
    void VisitInputSlot(const calyr_ipc::InputSlot& slot);

    // Makes the output object fit a frame with this header: one of the same pixel count is kept as it stands. A new one
    // has the class that the last Init's model type asks for. Throws std::bad_alloc. Lock: m_ipcMutex held.
    void KeepOrMakeOutput(const calyr_ipc::IpcFrameHeader& header);

    // Stops the threads and lets go of everything, as Stop tells.
    void WindDown();

    HostSeams m_seams;

    // Written by the entry and the timer's thread, read by the entry thread.
    std::atomic<bool> m_stop{false};          // the command loop ends when it is set
    std::atomic<std::int32_t> m_exitCode{0};  // the process's result
    // Heartbeats since the last acknowledgement. The entry thread clears it with no lock held: an acknowledgement must
    // not wait behind a frame.
    std::atomic<std::uint32_t> m_heartBeatCount{0};

    // Guards the four channels below it, the model type, the helper and the output, and everything done with them.
    std::recursive_mutex m_ipcMutex;
    std::recursive_mutex m_logMutex;         // guards m_logChannel, and keeps a line's chunks together
    std::int32_t m_modelType = 0;            // of the last Init, a good one or not
    IRvoCalyrHelper* m_helper = nullptr;     // not owned; null until an Init finds one
    std::unique_ptr<RvoHvqOutput> m_output;  // the one output object, used for frame after frame
    std::atomic<std::uint32_t> m_pid{0};     // set by Start; the reader's and the timer's thread may log meanwhile

    infra::Timer m_timer;  // the heartbeat's

    std::shared_ptr<calyr_ipc::CommandChannel> m_commandChannel;
    std::shared_ptr<calyr_ipc::EventChannel> m_eventChannel;
    std::shared_ptr<calyr_ipc::InputChannel> m_inputChannel;
    ipc::reader_thread m_inputReader;
    std::shared_ptr<calyr_ipc::OutputChannel> m_outputChannel;
    std::shared_ptr<calyr_ipc::LogChannel> m_logChannel;
};

}  // namespace rvo_calyr
