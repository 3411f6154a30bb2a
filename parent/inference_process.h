#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "velmo_parent/frame.h"
#include "velmo_parent/log_line.h"
#include "velmo_parent/notices.h"
#include "velmo_parent/outcome.h"

// An inference process, from the side of the program that wants masks for its frames.
//
//     class Masks : public velmo_parent::ProcessListener {
//         void OnResult(const velmo_parent::Result& result) override { Composite(result.tag, result.mask); }
//         void OnFrameLost(const velmo_parent::LostFrame& lost) override { Composite(lost.tag, {}); }
//     } masks;
//     velmo_parent::InferenceProcess process({.program = "bin/velmoml"}, masks);
//     if (auto started = process.Start(); !started) return Give(started.Why());
//     (void)process.Init({.device = velmo_parent::Device::Gpu,
//                         .quality = velmo_parent::ModelQuality::High,
//                         .modelPath = "models",
//                         .enginePath = "bin"});
//     const auto answer = process.AwaitInit(30s);
//     if (!answer || answer->status != 0) ...
//     for (each frame)
//         (void)process.Submit({.tag = number, .size = {640, 360}}, [&](velmo_parent::FramePlanes& planes) { ... });
//
// Nothing here throws for what can happen in ordinary use: a missing program, a full pipeline, a process that dies,
// hangs or writes nonsense. Such things are values. Running out of memory throws std::bad_alloc, and so does what a
// caller's own code throws. Per frame nothing is allocated.
namespace velmo_parent {

enum class Device : std::int32_t { Auto = 0, Cpu = 1, Gpu = 2, Npu = 3 };
enum class ModelQuality : std::int32_t { Low = 0 /* 256 × 144 */, High = 1 /* 640 × 360 */ };
enum class ModelFamily : std::int32_t { Calyr = 0 /* all results */, CalyrRe = 1, Inhouse = 2 /* both: the mask */ };

// The number of pixels of a quality's frames. Which of the sides is which is not looked at.
FrameSize SizeOf(ModelQuality quality);

// What Init asks for. The three paths are at most 1023 bytes, without NUL; "" is the folder of the process's program
// (enginePath, modelPath) or none (gpuCachePath). enginePath is UTF-8; on Windows the other two are in the system's
// code page.
struct EngineRequest {
    Device device = Device::Auto;
    ModelQuality quality = ModelQuality::Low;
    ModelFamily family = ModelFamily::Calyr;
    std::string modelPath{};     // folder of the model files
    std::string enginePath{};    // folder of hvq.dll
    std::string gpuCachePath{};  // folder where the engine may keep compiled networks, on any device
};

enum class [[nodiscard]] InitStatus{
    Sent,          // there will be an answer, as long as the process lives
    Full,          // 31 commands wait, or an Init of this family with another quality is not answered yet: try again
                   // later
    BadRequest,    // a text is too long or holds a NUL, or a number names nothing
    NeedsRestart,  // this family works with another quality: its frame size stays as it is until the process ends
    NotRunning,    // no process
};

// What became of an Init.
struct InitAnswer {
    // 0: an engine works. For the first Init of a family it is the new one. For every later one it is the old one, and
    //    the new one is brought up meanwhile: BringUpReady, EngineSwapped and BringUpFailed tell.
    // 2: the model's size is not that of its quality.
    // 3: no engine; the log says why (BringUpFailed).
    std::int32_t status = 0;
    EngineRequest request;
};

// How a process ended.
struct ProcessEnd {
    std::uint32_t processId = 0;
    // 0 after Stop; 3 when it could not open its channels; -1 when it saw six heartbeats unanswered; 70 for an
    // exception inside it; 1 on Windows when it was killed; std::int32_t's least value when the system has forgotten
    // it.
    std::int32_t code = 0;
    std::int32_t signal = 0;         // Linux: what ended it, 0 when it ended by itself
    bool wasAsked = false;           // Stop, Kill or the destructor came before
    std::uint32_t framesLost = 0;    // with it, each of them told before
    std::vector<LogLine> lastLines;  // at most 20, the latest last
};

// The masks are older than skipping explains: 18 results in a row had one that was made before their frames were
// submitted, and the process skips 17 at most.
struct StaleMasks {
    enum class Cause {
        InferenceFails,  // or frames of another size than the engine's get through; FrameFailed tells, one in thirty
        FrozenByCaller,  // Skipping::OffEvenIfFrozen was the caller's wish
    };
    Cause cause = Cause::InferenceFails;
    std::int32_t frames = 0;
    std::chrono::milliseconds age{0};
};

// The process has sent no heartbeat, no answer and no result for a while. It beats once a second, but not during an
// Init's first bring-up, an inference, or a log line that nobody reads.
struct Silence {
    std::chrono::milliseconds duration{0};
    bool initIsPending = false;  // which can explain it
};

// What the process does. Every operation has an empty default.
//
// Threads. Each group is called by one thread of the library, one call at a time; different groups at the same time:
//   results   OnResult, OnFrameLost, OnMasksStale, OnMasksFreshAgain
//   events    OnInit
//   log       OnLogLine, OnNotice
//   keeper    OnSilence; and, when the other threads are gone, OnFrameLost for what a process took with it, and OnEnded
//   any       OnDamage
// No lock is held. All of them may call Submit, Init, Kill and what asks. None may call Stop or an
// Await, and OnEnded alone may call Start: the other way round these would wait for themselves, so they answer a
// failure at once. The destructor has no answer and must not be called.
//
// They should return soon. OnResult beyond a third of a second may cost results (LossReason::Dropped): slots go back to
// the process between two calls of it. A log callback that does not return stops the process when 30 pieces of lines
// wait, frames and heartbeats with it. An exception that leaves one ends this program.
class ProcessListener {
 public:
    virtual ~ProcessListener() = default;

    // One per frame, in the order of the frames. The result is valid until this returns; ResultCopy keeps it.
    virtual void OnResult(const Result& result) { (void)result; }
    // In place of a result, in the order of the frames as well.
    virtual void OnFrameLost(const LostFrame& lost) { (void)lost; }
    // Once when it begins; and once when a new mask has come after that.
    virtual void OnMasksStale(const StaleMasks& stale) { (void)stale; }
    virtual void OnMasksFreshAgain() {}

    // One per Init that was Sent, in order.
    virtual void OnInit(const InitAnswer& answer) { (void)answer; }

    // Every line; and those that say something of note as a value behind it.
    virtual void OnLogLine(const LogLine& line) { (void)line; }
    virtual void OnNotice(const Notice& notice) { (void)notice; }

    // Again for every further ProcessOptions::silence of it.
    virtual void OnSilence(const Silence& silence) { (void)silence; }

    // The process is gone, and everything that it has said has been told. Start() in here restarts it.
    virtual void OnEnded(const ProcessEnd& end) { (void)end; }

    // The process sent something that can't be. It is dropped, and the library goes on.
    virtual void OnDamage(const std::string& what) { (void)what; }
};

struct ProcessOptions {
    std::string program;  // path of velmoml or velmoml.exe, UTF-8
    // Each start gets an id of its own, made of this, this process's number and a counter: so it never meets what an
    // earlier process may still hold. At most 200 bytes; no backslash, and no white space at its beginning.
    std::string idPrefix = "velmoml";
    std::vector<std::pair<std::string, std::string>> environment{};  // set over the inherited ones
    std::string standardOutputPath{};                                // files to write; "" inherits the stream
    std::string standardErrorPath{};
    bool outputToError = false;               // what it prints goes to its standard error, wherever that leads
    std::chrono::milliseconds silence{5000};  // until OnSilence; 0 for never
    // False lets the process outlive this program; it then ends by itself seven seconds later. Otherwise the system
    // ends it together with this program, however that ends.
    bool endsWithThisProgram = true;
};

enum class ProcessState {
    NotRunning,  // not started yet, or ended
    Running,
};

// What has happened since the latest start.
struct Counts {
    std::uint64_t submitted = 0;  // Submit answered Sent
    std::uint64_t full = 0;       // Submit answered Full: frames that the caller could not place
    std::uint64_t declined = 0;
    std::uint64_t results = 0;   // OnResult was called
    std::uint64_t reused = 0;    // of them, those with an old mask
    std::uint64_t lost = 0;      // OnFrameLost was called
    std::uint32_t inFlight = 0;  // submitted, and neither
};

// One inference process at a time, again and again.
//
// Threads: any, for every operation, except that construction and destruction are one thread's; see ProcessListener for
// what callbacks may call. The library has one thread from the first start on, the keeper, and five while a process
// runs. It answers the heartbeats by itself. Lifetime: the listener must outlive the object. It is called no more when
// the destructor, or Stop, has returned.
class InferenceProcess {
 public:
    // Starts nothing yet.
    InferenceProcess(ProcessOptions options, ProcessListener& listener);

    // Stop with two seconds' patience.
    ~InferenceProcess();

    InferenceProcess(const InferenceProcess&) = delete;
    InferenceProcess& operator=(const InferenceProcess&) = delete;

    // Starts a process, the first or another after one has ended. A failure says why in words: the program can't be
    // started, the id can't be used, a process runs already, no memory can be shared. When this returns the process has
    // been made; whether it can open its side shows by what it sends, or by OnEnded with code 3.
    Outcome Start();

    // Asks for an engine. Never waits. One Init of each family is carried out at once and holds up frames; every later
    // one runs beside them. A repeat of the same request is answered with 0 and changes nothing.
    InitStatus Init(const EngineRequest& request);

    // Waits until every Init that was Sent has been answered, and gives the last answer. Nothing when the time ran out,
    // when none was sent, when the process ended, or in a callback. OnInit may be about to be called still. When the
    // first engine of a family works, DeviceInUse knows its device.
    std::optional<InitAnswer> AwaitInit(std::chrono::milliseconds patience);

    // Sends a frame. `writer` is called at most once, on this thread, with a FramePlanes& to fill; it returns nothing,
    // or Writing. When it declines, or throws (which is passed on), nothing is sent and no room is lost. Never waits
    // for the process; for another thread's writer it does. Frames are worked on in the order of the calls. While the
    // writer runs it must call nothing of this object but what asks.
    template <class Writer>
    SubmitStatus Submit(const Frame& frame, Writer&& writer) {
        using Plain = std::remove_reference_t<Writer>;
        if constexpr (std::is_function_v<Plain>) {
            return Submit(frame, [&writer](FramePlanes& planes) { return writer(planes); });
        } else {
            return SubmitBy(frame, &CallWriter<Plain>,
                            const_cast<void*>(static_cast<const void*>(std::addressof(writer))));
        }
    }

    // Waits until no frame is on its way: OnResult or OnFrameLost has returned for each that was Sent before the call.
    // False when the time ran out, and in a callback.
    bool AwaitFrames(std::chrono::milliseconds patience);

    // Ends the process: asks it, waits, and kills it when it has not ended by then. Returns how it ended; nothing when
    // there was none, or in a callback. OnEnded has been called by then. Frames on their way may be lost: AwaitFrames
    // before.
    std::optional<ProcessEnd> Stop(std::chrono::milliseconds patience = std::chrono::seconds(5));

    // Ends the process at once; OnEnded follows. Harmless when there is none.
    void Kill();

    ProcessState State() const;
    std::uint32_t ProcessId() const;  // of the one that runs; 0 when there is none
    std::string Id() const;           // of the latest start; "" before the first
    Counts CountsSoFar() const;

    // The device that the engine in use really runs on, as its library says; "" before there is one. After a fallback
    // that is "CPU"; behind "AUTO" what the engine chose. It comes by the log, so perhaps a moment late.
    std::string DeviceInUse() const;

 private:
    using WriterCall = Writing (*)(void* object, FramePlanes& planes);
    template <class Writer>
    static Writing CallWriter(void* object, FramePlanes& planes) {
        Writer& writer = *static_cast<Writer*>(object);
        if constexpr (std::is_void_v<std::invoke_result_t<Writer&, FramePlanes&>>) {
            writer(planes);
            return Writing::Done;
        } else {
            return writer(planes);
        }
    }
    SubmitStatus SubmitBy(const Frame& frame, WriterCall call, void* object);

    class Implementation;
    std::unique_ptr<Implementation> m_implementation;
};

}  // namespace velmo_parent
