#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "ipc/channels.h"
#include "ipc/function_ref.h"
#include "platform/child_process.h"
#include "platform/kernel_objects.h"
#include "platform/text_conversion.h"
#include "platform/threads.h"
#include "velmo_parent/log_line_assembler.h"
#include "velmo_parent/outcome.h"
#include "velmo_parent/receive_end.h"
#include "velmo_parent/send_end.h"

// The parent's side of one inference process: start it, talk to it over the five channels, see it end.
//
//     struct Printer : velmo_parent::LinkListener {
//         void OnLogLine(const velmo_parent::LogLine& line) override { std::puts(line.text.c_str()); }
//     } printer;
//     velmo_parent::Link link("my-link-1", printer);
//     if (auto opened = link.Open(); !opened) return Give(opened.Why());
//     if (auto started = link.StartProcess({"bin/velmoml"}); !started) return Give(started.Why());
//     link.Init({.modelPath = "models", .enginePath = "bin"});
//     ...
//     link.Terminate();
//     const auto exit = link.WaitForExit(5000);
//
// Nothing here throws for what can happen in ordinary use (a missing program, a full channel, a process that dies or
// writes nonsense); such things are results. Only running out of memory does.
namespace velmo_parent {

// What the process says. Every operation has an empty default.
//
// Threads: OnHeartBeat and OnInit come on one thread of the link, OnFrameResult on a second, OnLogLine on a third, each
// thread one call at a time; OnDamage on any of the three. No lock of the link is held. They may send (Init, Fini,
// Terminate, AcknowledgeHeartBeats, SubmitFrame), ask and Kill, and must not call Open, StartProcess, WaitForExit,
// Close or the destructor. A call that doesn't return holds its channel up: a log channel that is full stops the
// process.
class LinkListener {
 public:
    virtual ~LinkListener() = default;

    // The process lives. It comes about once a second, after the link has acknowledged it if it does so itself.
    virtual void OnHeartBeat() {}

    // An Init has been carried out. result 0 is good; 2 arguments or model, 3 engine, 4 inference.
    virtual void OnInit(std::uint32_t processId, std::int32_t result) {
        (void)processId;
        (void)result;
    }

    // One frame's result, in its slot in shared memory: valid until this returns. The process writes there no more, but
    // what it wrote is input: read index and lengths once and check them (see ipc/read_once.h).
    virtual void OnFrameResult(const calyr_ipc::OutputSlot& slot) { (void)slot; }

    // One line of the process's log; valid until this returns.
    virtual void OnLogLine(const LogLine& line) { (void)line; }

    // The process sent something that can't be; it is dropped, and the link goes on.
    virtual void OnDamage(const std::string& what) { (void)what; }
};

// What Init asks for. Texts are at most 1023 bytes, without NUL.
struct InitRequest {
    std::int32_t deviceType = 0;    // 0 "AUTO", 1 "CPU", 2 "GPU", 3 "NPU"
    std::int32_t modelQuality = 0;  // 0 is 256 × 144, 1 is 640 × 360
    std::int32_t modelType = 0;     // model family, 0 to 2
    std::string modelPath{};
    std::string enginePath{};
    std::string gpuCachePath{};
};

// The program to start. The link adds its id as the command line.
struct ProcessStart {
    std::string program;                                             // path of the executable, UTF-8
    std::vector<std::pair<std::string, std::string>> environment{};  // set over the inherited ones
    std::string standardOutputPath{};                                // files to write; "" inherits the stream
    std::string standardErrorPath{};
    bool outputToError = false;                                // what it prints goes to its standard error
    platform::Lifetime lifetime = platform::Lifetime::ItsOwn;  // what becomes of it when this process ends first
};

// Who answers heartbeats. After six without an answer the process ends itself with -1.
enum class HeartBeats { AnsweredByLink, LeftToCaller };

// One link to one process. A process that ends can't be followed by another one on the same link: it may have taken
// slots with it.
//
// Threads: Open, StartProcess, WaitForExit, Close and the destructor by one thread at a time, and not by the listener;
// everything else by any, also by the listener. Five threads of the link run while it is open.
// Lifetime: listener and seams must outlive the link. The listener is not called any more once Close has returned.
class Link {
 public:
    // The system's facilities; tests pass others.
    struct Seams {
        platform::KernelObjects& kernelObjects = platform::SystemKernelObjects();
        platform::Threads& threads = platform::SystemThreads();
        platform::ChildProcesses& childProcesses = platform::SystemChildProcesses();
        platform::TextConversion& textConversion = platform::SystemTextConversion();
    };

    // `id` names the link on this machine; what makes a good one stands in ipc_id.h. Nothing is opened yet.
    Link(std::string id, LinkListener& listener, HeartBeats heartBeats = HeartBeats::AnsweredByLink);
    Link(std::string id, LinkListener& listener, HeartBeats heartBeats, const Seams& seams);

    // Close, and lets go of the process.
    ~Link();

    Link(const Link&) = delete;
    Link& operator=(const Link&) = delete;

    const std::string& Id() const { return m_id; }

    // Opens the five channels, making those that aren't there, and begins to listen. Once, before or after the process
    // is started, by this object or otherwise; not at the same moment (see ChannelObjects::Open). A failure leaves
    // nothing open, and names what could not be had. A link that is open, or was, stays as it is and answers a failure.
    Outcome Open();

    // Starts the process with this link's id. Once. Its working directory is this process's.
    Outcome StartProcess(const ProcessStart& start);

    // The process's id; 0 when this link has started none.
    std::uint32_t ProcessId() const { return m_processId; }

    // Commands. They never wait: what the process can't take yet is kept, in order, 31 of them at most.
    // Refused when a text is too long or holds a NUL. `beforeSending` is called when there is room and nothing is left
    // that could keep the command from being sent; under the lock of the commands, so it must send none.
    SendResult Init(const InitRequest& request, ipc::function_ref<void()> beforeSending = nullptr);
    SendResult Fini();
    SendResult Terminate();              // the process ends with exit code 0
    SendResult AcknowledgeHeartBeats();  // answers all so far
    // Any bytes at all, for tools and tests.
    SendResult SendCommand(ipc::function_ref<void(calyr_ipc::CommandSlot&)> writer);

    void SetHeartBeats(HeartBeats heartBeats) { m_heartBeats = heartBeats; }

    // Sends a frame: `writer` fills the slot (an RvoCalyrIpcInput and index 0) in place, on the calling thread. Four
    // can be on their way; then it is Full until the process has finished one. Never waits.
    SendResult SubmitFrame(ipc::function_ref<void(calyr_ipc::InputSlot&)> writer);
    // The same with a writer that can decline.
    SendResult SubmitFrameIf(ipc::function_ref<Writing(calyr_ipc::InputSlot&)> writer);

    // How far the process has come with the frames.
    SendProgress FrameProgress() const { return m_frames.Progress(); }

    // Makes the thread of the results look now; nothing happens when the link isn't open.
    void LookForResults() { m_results.Wake(); }

    // Who is told of the slots of the results; before Open. Must outlive the link.
    void WatchResults(ReceiveWatch& watch) { m_resultWatch = &watch; }

    // Waits for the end of the process that StartProcess started, then until the listener has seen everything that the
    // process has sent, its last log lines too. timeoutMs is for the process; platform::kNoTimeLimit waits for good.
    // Nothing when the time ran out, or when no process was started. Repeatable.
    std::optional<platform::ChildExit> WaitForExit(std::uint32_t timeoutMs);

    // Waits until the listener has seen everything that the process had sent before the call.
    void Drain();

    // The suffixes of channels whose lists the process or somebody else has damaged, such as "FO L"; "" when all is
    // well. Such a channel is dead, and the process with it.
    std::string DamagedChannels() const;

    // Ends the process at once; harmless when there is none or it has ended. Thread: any, once StartProcess is done.
    void Kill();

    // Stops listening and closes the channels; commands that were not taken yet are dropped. Never waits for the
    // process. One that still runs gets no more acknowledgements, and ends by itself after about seven seconds, unless
    // it has been terminated or killed before; if it has more to log than fits its channel it stays, so a caller who
    // wants it gone terminates it and waits, or kills it. May be repeated; a closed link isn't opened again.
    void Close();

 private:
    void TakeEvent(const calyr_ipc::EventSlot& slot);
    void TakeLogChunk(const calyr_ipc::IpcLogChunk& chunk);
    SendResult SendIndex(std::int8_t index);

    const std::string m_id;
    LinkListener& m_listener;
    const Seams m_seams;
    std::atomic<HeartBeats> m_heartBeats;
    std::atomic<std::uint32_t> m_processId{0};
    bool m_wasOpened = false;  // touched by Open only
    std::unique_ptr<platform::ChildProcess> m_process;
    LogLineAssembler m_log;                 // touched by the log channel's thread only
    ReceiveWatch* m_resultWatch = nullptr;  // set before Open
    // The receiving ends go first: their threads send.
    SendEnd<calyr_ipc::CommandSlot, 32> m_commands;
    SendEnd<calyr_ipc::InputSlot, 5> m_frames;
    ReceiveEnd<calyr_ipc::EventSlot, 32> m_events;
    ReceiveEnd<calyr_ipc::OutputSlot, 5> m_results;
    ReceiveEnd<calyr_ipc::IpcLogChunk, 30> m_logs;
};

}  // namespace velmo_parent
