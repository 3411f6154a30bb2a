#include "velmo_run/run_video.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "velmo_media/compositor.h"
#include "velmo_media/media_error.h"
#include "velmo_media/model_fit.h"
#include "velmo_media/png_codec.h"
#include "velmo_report/csv_writer.h"
#include "velmo_report/html_report.h"
#include "velmo_report/report_json.h"
#include "velmo_report/sheet_picture.h"
#include "velmo_run/engine_session.h"
#include "velmo_run/frame_belt.h"
#include "velmo_run/frame_writer.h"
#include "velmo_run/process_watcher.h"
#include "velmo_run/reader_stage.h"
#include "velmo_run/report_of_run.h"
#include "velmo_run/run_error.h"
#include "velmo_run/run_journal.h"
#include "velmo_run/stop_sign.h"
#include "velmo_run/submit_stage.h"
#include "velmo_run/writer_stage.h"
#include "velmo_run/written_frames_log.h"

namespace velmo_run {
namespace {

using Clock = std::chrono::steady_clock;
using velmo_media::Overwriting;
using velmo_media::Size;

constexpr std::chrono::milliseconds kLook{100};

double Seconds(Clock::time_point begin, Clock::time_point end) {
    return std::chrono::duration<double>(end - begin).count();
}

// What the thread that reads touches: it may stand in a read that never returns, and outlive the run.
struct ReadingSide {
    ReadingSide(std::unique_ptr<velmo_media::FrameSource> opened, Size modelSize, std::size_t slots)
        : source(std::move(opened)),
          model(modelSize),
          fit(source->Format().pixels, source->Format().size, modelSize),
          belt(slots) {}

    std::unique_ptr<velmo_media::FrameSource> source;
    Size model;
    velmo_media::ModelFit fit;
    FrameBelt belt;
    StopSign sourceFailed;
    StopSign stop;
};

// The outputs, each where it is asked for.
struct Outputs {
    std::unique_ptr<velmo_media::FrameSink> composite;
    std::unique_ptr<velmo_media::FrameSink> masks;
    std::unique_ptr<std::ofstream> csvFile;
    std::optional<velmo_report::CsvWriter> csv;
};

class VideoRun {
 public:
    VideoRun(const RunOptions& options, const RunSurroundings& surroundings)
        : m_options(options), m_surroundings(surroundings) {}

    int Run();

 private:
    Overwriting MayOverwrite() const { return m_options.force ? Overwriting::Allowed : Overwriting::Refused; }
    void CheckOutputs() const;
    void OpenOutputs();
    void RunFrames(velmo_parent::InferenceProcess& process, velmo_media::Compositor& compositor);
    void Drain(velmo_parent::InferenceProcess& process);
    bool LookAround();
    void JoinReader(std::thread& reader);
    RunOutcome OutcomeOfFrames();
    int Conclude(double bringUpSeconds, double seconds);

    const RunOptions& m_options;
    const RunSurroundings& m_surroundings;
    std::shared_ptr<ReadingSide> m_reading;
    Outputs m_outputs;
    RunJournal m_journal;
    WrittenFramesLog m_frames;
    std::string m_device;
    std::optional<Progress> m_progress;
    bool m_interrupted = false;
};

void VideoRun::CheckOutputs() const {
    for (const std::string& output : {m_options.output, m_options.masks}) {
        if (!output.empty()) (void)SinkKindOf(output);
    }
    for (const std::string& file : {m_options.report, m_options.json, m_options.csv, m_options.sheet}) {
        if (file == "-") throw RunError("pictures alone go to standard output: name a file for the rest");
    }
    const std::vector<std::string> outputs = {m_options.output, m_options.masks, m_options.report,
                                              m_options.json,   m_options.csv,   m_options.sheet};
    for (auto output = outputs.begin(); output != outputs.end(); ++output) {
        if (output->empty()) continue;
        if (std::find(outputs.begin(), output, *output) != output) {
            throw RunError("two outputs can't go to the same place, " + *output);
        }
        if (IsSamePlace(m_options.input, *output)) throw RunError("the input can't be an output, " + *output);
        CheckOverwriting(*output, MayOverwrite());
    }
}

void VideoRun::OpenOutputs() {
    velmo_media::VideoFormat format = m_reading->source->Format();
    if (!m_options.output.empty()) {
        m_outputs.composite = OpenSink(m_options.output, format, MayOverwrite(), m_surroundings.streams);
    }
    if (!m_options.masks.empty()) {
        format.pixels = {velmo_media::ColourModel::Grey, 0, 0, velmo_media::ColourRange::Full};
        format.chroma.clear();
        m_outputs.masks = OpenSink(m_options.masks, format, MayOverwrite(), m_surroundings.streams);
    }
    if (!m_options.csv.empty()) {
        m_outputs.csvFile = OpenTextFile(m_options.csv, MayOverwrite());
        m_outputs.csv.emplace(*m_outputs.csvFile, m_options.csv);
    }
}

// Shows the progress; false when the run was interrupted.
bool VideoRun::LookAround() {
    if (m_progress) {
        m_progress->Update({m_frames.Written(), m_frames.Reused()}, Clock::now());
    }
    m_interrupted = m_interrupted || m_surroundings.interrupted();
    return !m_interrupted;
}

// Frames on their way get their results, unless the process is silent or the run was interrupted and it takes long.
void VideoRun::Drain(velmo_parent::InferenceProcess& process) {
    constexpr std::chrono::seconds kPatienceAtTheEnd{2};
    std::optional<Clock::time_point> patienceEnds;
    while (!process.AwaitFrames(kLook)) {
        if (process.State() != velmo_parent::ProcessState::Running) break;
        const bool goesOn = LookAround() && !m_reading->stop.IsRaised();
        if (!goesOn && !patienceEnds) patienceEnds = Clock::now() + kPatienceAtTheEnd;
        if (patienceEnds && Clock::now() > *patienceEnds) break;
    }
}

void VideoRun::JoinReader(std::thread& reader) {
    constexpr std::chrono::seconds kPatience{1};
    if (m_reading->belt.AwaitClosed(Stage::Read, kPatience)) {
        reader.join();
    } else {
        reader.detach();  // it stands in a read; what it touches is its own
    }
}

void VideoRun::RunFrames(velmo_parent::InferenceProcess& process, velmo_media::Compositor& compositor) {
    FrameBelt& belt = m_reading->belt;
    StopSign& stop = m_reading->stop;
    FrameWriter writer(
        {m_outputs.composite.get(), m_outputs.masks.get(), m_outputs.csv ? &*m_outputs.csv : nullptr, &m_frames},
        m_reading->fit, compositor, m_reading->source->Format().size);
    std::thread reading([side = m_reading, most = m_options.frames] {
        ReadFrames(*side->source, side->fit, side->model, most, side->belt, side->sourceFailed, side->stop);
    });
    std::thread writing([&] { WriteFrames(writer, belt, stop); });

    SubmitStage submit(process, RequestOf(m_options), m_options, belt, m_journal, stop,
                       [this] { return LookAround(); });
    submit.Run();
    Drain(process);
    m_device = process.DeviceInUse();
    constexpr std::chrono::seconds kPatienceForTheEnd{10};
    (void)process.Stop();
    (void)m_journal.AwaitEnd(kPatienceForTheEnd);  // where it ended by itself, it may be about to say so
    // What is not answered now never will be.
    belt.Close(Stage::Answer);
    while (!belt.AwaitClosed(Stage::Write, kLook))
        (void)LookAround();
    writing.join();
    // What is left of the reader's work is given up.
    stop.Raise("");
    JoinReader(reading);
}

RunOutcome VideoRun::OutcomeOfFrames() {
    RunOutcome outcome;
    outcome.reason = m_reading->stop.Why();
    if (outcome.reason.empty()) outcome.reason = m_reading->sourceFailed.Why();
    try {
        if (m_outputs.csvFile) FinishTextFile(*m_outputs.csvFile, m_options.csv);
    } catch (const std::exception& error) {
        if (outcome.reason.empty()) outcome.reason = error.what();
    }
    if (!outcome.reason.empty()) {
        outcome.state = velmo_report::RunState::Failed;
    } else if (m_interrupted) {
        outcome.state = velmo_report::RunState::Interrupted;
        outcome.reason = "interrupted after " + std::to_string(m_frames.Written()) + " frames";
    } else if (m_frames.Written() == 0) {
        outcome.state = velmo_report::RunState::Failed;
        outcome.reason = "there is no frame in " + (m_options.input == "-" ? "standard input" : m_options.input);
    }
    return outcome;
}

// Writes the report, also of a run that failed, and tells how it went.
int VideoRun::Conclude(double bringUpSeconds, double seconds) {
    RunOutcome outcome = OutcomeOfFrames();
    outcome.device = m_device;
    outcome.seconds = seconds;
    outcome.bringUpSeconds = bringUpSeconds;
    const velmo_report::RunReport report =
        MakeReport(m_options, m_reading->source->Format(), m_frames, m_journal, outcome);
    std::ostream& talk = m_surroundings.talk;
    talk << Summary(report);
    bool isGood = outcome.state == velmo_report::RunState::Complete;
    if (!isGood) talk << "velmo: " << outcome.reason << "; what was written until then is kept" << std::endl;
    try {
        if (!m_options.json.empty()) WriteTextFile(m_options.json, velmo_report::JsonText(report), MayOverwrite());
        if (!m_options.report.empty())
            WriteTextFile(m_options.report, velmo_report::HtmlReport(report), MayOverwrite());
        if (!m_options.sheet.empty() && !report.sheet.empty()) {
            std::vector<std::uint8_t> png;
            velmo_media::EncodePng(velmo_report::SheetPicture(report.sheet), png);
            WriteTextFile(m_options.sheet, std::string(png.begin(), png.end()), MayOverwrite());
        }
    } catch (const std::exception& error) {
        talk << "velmo: " << error.what() << std::endl;
        isGood = false;
    }
    if (report.frames.written > 0 && report.frames.inferred + report.frames.reused == 0) {
        talk << "velmo: no frame got a mask" << std::endl;
        isGood = false;
    }
    return isGood ? 0 : 1;
}

int VideoRun::Run() {
    CheckOutputs();
    const velmo_parent::FrameSize frame = velmo_parent::SizeOf(m_options.quality);
    const Size model{frame.width, frame.height};
    // One slot for each that reads, waits and writes, beside those in flight.
    constexpr std::size_t kMoreSlots = 3;
    m_reading = std::make_shared<ReadingSide>(OpenSource(m_options.input, m_surroundings.streams), model,
                                              m_options.framesInFlight + kMoreSlots);
    m_surroundings.beginWatching();
    const velmo_media::VideoFormat& format = m_reading->source->Format();
    velmo_media::Compositor compositor(OpenBackground(m_options.background), format.pixels, format.size);

    ProcessWatcher watcher(model.Area(), m_reading->belt, m_journal, m_reading->stop);
    // The process and its libraries may print as well, which is no part of a video.
    velmo_parent::InferenceProcess process(
        {.program = m_options.program, .idPrefix = "velmo-run", .outputToError = true}, watcher);
    const Clock::time_point beforeBringUp = Clock::now();
    BringUp(process, m_options, m_journal, [this] { return LookAround(); });
    const double bringUpSeconds = Seconds(beforeBringUp, Clock::now());
    m_surroundings.talk << "velmo: process " << process.ProcessId() << " (" << process.Id() << ") is ready on "
                        << process.DeviceInUse() << std::endl;
    OpenOutputs();

    std::optional<std::uint64_t> total = m_reading->source->CountHint();
    if (m_options.frames) total = total ? std::min(*total, *m_options.frames) : *m_options.frames;
    const Clock::time_point begin = Clock::now();
    m_progress.emplace(m_surroundings.talk, m_surroundings.progress, total, begin);
    RunFrames(process, compositor);
    m_progress->End();

    return Conclude(bringUpSeconds, Seconds(begin, Clock::now()));
}

}  // namespace

int RunVideo(const RunOptions& options, const RunSurroundings& surroundings) {
    // Streams tied to the output flush it whenever they are used, on other threads than the one that writes it.
    surroundings.streams.in.tie(nullptr);
    surroundings.talk.tie(nullptr);
    try {
        return VideoRun(options, surroundings).Run();
    } catch (const std::exception& error) {
        surroundings.talk << "velmo: " << error.what() << std::endl;
        return 1;
    }
}

}  // namespace velmo_run
