#include "velmo_run/run_video.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "velmo_run/engine_session.h"
#include "velmo_run/output_check.h"
#include "velmo_run/process_watcher.h"
#include "velmo_run/reader_stage.h"
#include "velmo_run/report_files.h"
#include "velmo_run/report_of_run.h"
#include "velmo_run/run_error.h"
#include "velmo_run/run_journal.h"
#include "velmo_run/run_sides.h"
#include "velmo_run/submit_stage.h"
#include "velmo_run/writer_stage.h"

namespace velmo_run {
namespace {

using Clock = std::chrono::steady_clock;
using velmo_media::Size;

constexpr std::chrono::milliseconds kLook{100};
constexpr std::chrono::seconds kPatienceAtTheEnd{2};
constexpr int kUsageExitCode = 2;

double Seconds(Clock::time_point begin, Clock::time_point end) {
    return std::chrono::duration<double>(end - begin).count();
}

// When a run began, and how long its engine took.
struct RunBegin {
    double bringUpSeconds = 0;
    Clock::time_point at;
};

class VideoRun {
 public:
    VideoRun(const RunOptions& options, const RunSurroundings& surroundings)
        : m_options(options), m_surroundings(surroundings) {}

    int Run();

 private:
    void OpenOutputs();
    void RunFrames(velmo_parent::InferenceProcess& process);
    void Drain(velmo_parent::InferenceProcess& process);
    bool LookAround();
    void JoinWriter(std::thread& writer);
    void JoinReader(std::thread& reader);
    void FinishCsv(std::string& reason);
    RunOutcome OutcomeOfFrames();
    int Conclude(const RunBegin& begin);

    const RunOptions& m_options;
    const RunSurroundings& m_surroundings;
    std::shared_ptr<ReadingSide> m_reading;
    std::shared_ptr<WritingSide> m_writing;
    RunJournal m_journal;
    std::string m_device;
    std::optional<Progress> m_progress;
    bool m_interrupted = false;
    bool m_writerStands = false;  // and what it uses is not to be touched
};

void VideoRun::OpenOutputs() {
    WritingSide& side = *m_writing;
    velmo_media::VideoFormat format = m_reading->source->Format();
    if (!m_options.output.empty()) {
        side.composite = OpenSink(m_options.output, format, MayOverwrite(m_options), m_surroundings.streams);
    }
    if (!m_options.masks.empty()) {
        format.pixels = {velmo_media::ColourModel::Grey, 0, 0, velmo_media::ColourRange::Full};
        format.chroma.clear();
        side.masks = OpenSink(m_options.masks, format, MayOverwrite(m_options), m_surroundings.streams);
    }
    if (!m_options.csv.empty()) {
        side.csvFile = OpenTextFile(m_options.csv, MayOverwrite(m_options));
        side.csv.emplace(*side.csvFile, m_options.csv);
    }
    side.writer.emplace(
        FrameWriter::Sinks{side.composite.get(), side.masks.get(), side.csv ? &*side.csv : nullptr, &side.frames},
        m_reading->fit, side.compositor, m_reading->source->Format().size);
}

// Shows the progress; false when the run was interrupted.
bool VideoRun::LookAround() {
    if (m_progress) {
        m_progress->Update({m_writing->frames.Written(), m_writing->frames.Reused()}, Clock::now());
    }
    m_interrupted = m_interrupted || m_surroundings.interrupted();
    return !m_interrupted;
}

// Frames on their way get their results, unless the process is silent or the run was interrupted and it takes long.
void VideoRun::Drain(velmo_parent::InferenceProcess& process) {
    std::optional<Clock::time_point> patienceEnds;
    while (!process.AwaitFrames(kLook)) {
        if (process.State() != velmo_parent::ProcessState::Running) break;
        const bool goesOn = LookAround() && !m_reading->stop.IsRaised();
        if (!goesOn && !patienceEnds) patienceEnds = Clock::now() + kPatienceAtTheEnd;
        if (patienceEnds && Clock::now() > *patienceEnds) break;
    }
}

// What has been answered is written, unless the run was interrupted and nothing moves on: then somebody has stopped
// reading, and this program should end all the same.
void VideoRun::JoinWriter(std::thread& writer) {
    FrameBelt& belt = m_reading->belt;
    std::uint64_t written = belt.Completed(Stage::Write);
    Clock::time_point patienceEnds = Clock::now() + kPatienceAtTheEnd;
    while (!belt.AwaitClosed(Stage::Write, kLook)) {
        const bool moves = belt.Completed(Stage::Write) != written;
        written = belt.Completed(Stage::Write);
        if (LookAround() || moves) patienceEnds = Clock::now() + kPatienceAtTheEnd;
        m_writerStands = Clock::now() > patienceEnds;
        if (m_writerStands) return writer.detach();
    }
    writer.join();
}

void VideoRun::JoinReader(std::thread& reader) {
    constexpr std::chrono::seconds kPatience{1};
    if (!reader.joinable()) return;
    if (m_reading->belt.AwaitClosed(Stage::Read, kPatience)) {
        reader.join();
    } else {
        reader.detach();  // it stands in a read; what it touches is its own
    }
}

void VideoRun::RunFrames(velmo_parent::InferenceProcess& process) {
    FrameBelt& belt = m_reading->belt;
    StopSign& stop = m_reading->stop;
    std::thread writing([side = m_writing] { WriteFrames(*side->writer, side->reading->belt, side->reading->stop); });
    std::thread reading;
    try {
        reading = std::thread([side = m_reading, most = m_options.frames] {
            ReadFrames(*side->source, side->fit, side->model, most, side->belt, side->sourceFailed, side->stop);
        });
    } catch (const std::system_error& error) {
        stop.Raise(std::string("there is no thread to read with: ") + error.what());
        belt.Close(Stage::Read);
    }

    SubmitStage submit(process, RequestOf(m_options), m_options, belt, m_journal, stop,
                       [this] { return LookAround(); });
    submit.Run();
    (void)LookAround();  // what ended the source may have come for this program too
    Drain(process);
    m_device = process.DeviceInUse();
    constexpr std::chrono::seconds kPatienceForTheEnd{10};
    (void)process.Stop();
    (void)m_journal.AwaitEnd(kPatienceForTheEnd);  // where it ended by itself, it may be about to say so
    // What is not answered now never will be.
    belt.Close(Stage::Answer);
    JoinWriter(writing);
    // What is left of the reader's work is given up.
    stop.Raise("");
    JoinReader(reading);
}

void VideoRun::FinishCsv(std::string& reason) {
    try {
        if (m_writing->csvFile) FinishTextFile(*m_writing->csvFile, m_options.csv);
    } catch (const std::exception& error) {
        if (reason.empty()) reason = error.what();
    }
}

RunOutcome VideoRun::OutcomeOfFrames() {
    const std::vector<velmo_report::FrameRecord>& records = m_writing->frames.Records();
    const bool hasMasks = std::ranges::any_of(records, [](const velmo_report::FrameRecord& record) {
        return record.outcome == velmo_report::FrameOutcome::Inferred ||
               record.outcome == velmo_report::FrameOutcome::Reused;
    });
    RunOutcome outcome;
    outcome.reason = m_reading->stop.Why();
    // A terminal interrupts whoever feeds this program as well.
    if (outcome.reason.empty() && !m_interrupted) outcome.reason = m_reading->sourceFailed.Why();
    if (!m_writerStands) FinishCsv(outcome.reason);
    if (!outcome.reason.empty()) {
        outcome.state = velmo_report::RunState::Failed;
        return outcome;
    }
    if (m_interrupted) {
        outcome.state = velmo_report::RunState::Interrupted;
        outcome.reason = "interrupted after " + std::to_string(records.size()) + " frames";
        if (m_writerStands) outcome.reason += ", while nobody took what was written";
        return outcome;
    }
    if (records.empty()) {
        outcome.reason = "there is no frame in " + (m_options.input == "-" ? "standard input" : m_options.input);
    } else if (!hasMasks) {
        outcome.reason = "no frame got a mask";
    } else if (const auto frame = m_journal.InferenceFailure()) {
        outcome.reason =
            "inference fails: by frame " + std::to_string(*frame) + " the masks were older than skipping explains";
    }
    if (!outcome.reason.empty()) outcome.state = velmo_report::RunState::Failed;
    return outcome;
}

// Writes the report, also of a run that failed, and tells how it went.
int VideoRun::Conclude(const RunBegin& begin) {
    m_writing->frames.Close();
    RunOutcome outcome = OutcomeOfFrames();
    outcome.device = m_device;
    outcome.seconds = Seconds(begin.at, m_writing->frames.LastAt(begin.at));
    outcome.bringUpSeconds = begin.bringUpSeconds;
    const velmo_report::RunReport report =
        MakeReport(m_options, m_reading->source->Format(), m_writing->frames, m_journal, outcome);
    m_surroundings.talk << Summary(report);
    const bool isWhole = outcome.state == velmo_report::RunState::Complete;
    if (!isWhole) {
        m_surroundings.talk << "velmo: " << outcome.reason << "; what was written until then is kept" << std::endl;
    }
    return WriteReportFiles(m_options, report, m_surroundings.talk) && isWhole ? 0 : 1;
}

int VideoRun::Run() {
    CheckOutputs(m_options);
    const velmo_parent::FrameSize frame = velmo_parent::SizeOf(m_options.quality);
    const Size model{frame.width, frame.height};
    // One slot for each that reads, waits and writes, beside those in flight.
    constexpr std::size_t kMoreSlots = 3;
    m_reading = std::make_shared<ReadingSide>(OpenSource(m_options.input, m_surroundings.streams), model,
                                              m_options.framesInFlight + kMoreSlots);
    m_surroundings.beginWatching();
    m_writing = std::make_shared<WritingSide>(m_reading, OpenBackground(m_options.background),
                                              !m_options.report.empty() || !m_options.sheet.empty());

    ProcessWatcher watcher(model.Area(), m_reading->belt, m_journal, m_reading->stop);
    // The process and its libraries may print as well, which is no part of a video.
    velmo_parent::InferenceProcess process(
        {.program = m_options.program, .idPrefix = "velmo-run", .outputToError = true}, watcher);
    const Clock::time_point beforeBringUp = Clock::now();
    BringUp(process, m_options, m_journal, [this] { return LookAround(); });
    RunBegin begin{Seconds(beforeBringUp, Clock::now()), {}};
    m_surroundings.talk << "velmo: process " << process.ProcessId() << " (" << process.Id() << ") is ready on "
                        << process.DeviceInUse() << std::endl;
    OpenOutputs();

    std::optional<std::uint64_t> total = m_reading->source->CountHint();
    if (m_options.frames) total = total ? std::min(*total, *m_options.frames) : *m_options.frames;
    begin.at = Clock::now();
    m_progress.emplace(m_surroundings.talk, m_surroundings.progress, total, begin.at);
    RunFrames(process);
    (void)LookAround();  // so that the last frames are in the progress that stays
    m_progress->End();
    return Conclude(begin);
}

}  // namespace

int RunVideo(const RunOptions& options, const RunSurroundings& surroundings) {
    // Streams tied to the output flush it whenever they are used, on other threads than the one that writes it.
    surroundings.streams.in.tie(nullptr);
    surroundings.talk.tie(nullptr);
    try {
        return VideoRun(options, surroundings).Run();
    } catch (const UsageError& error) {
        surroundings.talk << "velmo: " << error.what() << std::endl;
        return kUsageExitCode;
    } catch (const std::exception& error) {
        surroundings.talk << "velmo: " << error.what() << std::endl;
        return 1;
    }
}

}  // namespace velmo_run
