#include "velmo_run/report_of_run.h"

#include <cstdint>
#include <variant>

#include "platform/machine.h"
#include "velmo_report/number_format.h"
#include "velmo_run/notice_text.h"
#include "velmo_tool/path_text.h"
#include "velmo_tool/probe/machine_facts.h"

namespace velmo_run {
namespace {

using velmo_report::Fixed;
using velmo_report::FrameOutcome;
using velmo_report::FrameRecord;
using velmo_report::RunReport;
using velmo_report::Setting;

constexpr std::size_t kMostColumns = 480;

const char* FamilyName(velmo_parent::ModelFamily family) {
    switch (family) {
        case velmo_parent::ModelFamily::Calyr:
            return "0 (calyr)";
        case velmo_parent::ModelFamily::CalyrRe:
            return "1 (calyr-re)";
        case velmo_parent::ModelFamily::Inhouse:
            break;
    }
    return "2 (inhouse)";
}

}  // namespace

std::vector<Setting> SettingsOf(const RunOptions& options) {
    const velmo_parent::FrameSize size = velmo_parent::SizeOf(options.quality);
    std::vector<Setting> settings = {
        {"model family", FamilyName(options.family)},
        {"model size", std::to_string(size.width) + " x " + std::to_string(size.height)},
        {"device asked for", DeviceName(static_cast<int>(options.device))},
        {"skipping of still frames", options.mayReuseMasks ? "allowed" : "off"},
        {"frames in flight", std::to_string(options.framesInFlight) + " at most"},
        {"pace", options.fps > 0 ? Fixed(options.fps, 3) + " frames per second" : "as fast as it goes"},
        {"background", options.background},
        {"engine folder", options.engineFolder},
        {"model folder", velmo_tool::Utf8FromArgument(options.modelFolder)},
    };
    if (!options.cacheFolder.empty()) {
        settings.push_back({"cache folder", velmo_tool::Utf8FromArgument(options.cacheFolder)});
    }
    if (options.frames) settings.push_back({"frames", std::to_string(*options.frames) + " at most"});
    return settings;
}

namespace {

std::vector<Setting> FilesOf(const RunOptions& options, bool hasSheet) {
    std::vector<Setting> files;
    for (const Setting& file :
         {Setting{"composite", options.output}, Setting{"masks", options.masks}, Setting{"report", options.report},
          Setting{"numbers of the report", options.json}, Setting{"row per frame", options.csv},
          Setting{"contact sheet", hasSheet ? options.sheet : ""}}) {
        if (!file.value.empty()) files.push_back(file);
    }
    return files;
}

velmo_report::FrameCounts CountsOf(const std::vector<FrameRecord>& records) {
    velmo_report::FrameCounts counts;
    counts.written = records.size();
    for (const FrameRecord& record : records) {
        switch (record.outcome) {
            case FrameOutcome::Inferred:
                ++counts.inferred;
                break;
            case FrameOutcome::Reused:
                ++counts.reused;
                break;
            case FrameOutcome::NoMask:
                ++counts.noMask;
                break;
            case FrameOutcome::Lost:
                ++counts.lost;
                break;
        }
    }
    return counts;
}

// Those that can be told.
std::vector<float> Column(const std::vector<FrameRecord>& records, float FrameRecord::*field) {
    std::vector<float> values;
    for (const FrameRecord& record : records) {
        if (record.*field >= 0) values.push_back(record.*field);
    }
    return values;
}

velmo_report::PhaseTimes TimesOf(const velmo_parent::PhaseSummary& phase) {
    return {phase.count, phase.min, phase.max, phase.average, phase.percentile95};
}

void AddJournal(const RunJournal& journal, RunReport& report) {
    for (const JournalEntry& entry : journal.Entries()) {
        const bool isMetrics = std::holds_alternative<velmo_parent::RoundsSummary>(entry.notice) ||
                               std::holds_alternative<velmo_parent::ContentChangeSummary>(entry.notice);
        if (const auto* rounds = std::get_if<velmo_parent::RoundsSummary>(&entry.notice)) {
            report.metrics.push_back({entry.frame, rounds->rounds, rounds->skipped, TimesOf(rounds->preprocess),
                                      TimesOf(rounds->infer), TimesOf(rounds->postprocess)});
        }
        if (isMetrics) {
            report.metricLines.push_back(entry.line);
            continue;
        }
        if (std::holds_alternative<velmo_parent::EngineSwapped>(entry.notice)) {
            report.swaps.push_back({entry.frame, TextOf(entry.notice)});
        }
        report.notices.push_back({entry.frame, entry.seconds, TextOf(entry.notice)});
    }
    report.noticesLeftOut = journal.EntriesLeftOut();
    for (const AskedSwap& swap : journal.Swaps())
        report.swapRequests.push_back({swap.frame, DeviceName(static_cast<int>(swap.device))});
}

std::string ValueText(const velmo_tool::ProbeFact& fact) {
    std::string text;
    if (const auto* number = std::get_if<std::int64_t>(&fact.value)) text = std::to_string(*number);
    if (const auto* flag = std::get_if<bool>(&fact.value)) text = *flag ? "yes" : "no";
    if (const auto* words = std::get_if<std::string>(&fact.value)) text = *words;
    return fact.unit.empty() ? text : text + " " + fact.unit;
}

std::vector<velmo_report::MachineFact> MachineFacts() {
    std::vector<velmo_report::MachineFact> facts;
    for (const velmo_tool::ProbeAnswer& answer : velmo_tool::ProbeMachine(platform::ThisMachine()).answers) {
        if (!answer.error.empty()) facts.push_back({answer.function, "failed", answer.error, ""});
        for (const velmo_tool::ProbeFact& fact : answer.facts)
            facts.push_back({answer.function, fact.label, ValueText(fact), fact.meaning});
    }
    return facts;
}

std::string Percent(std::uint64_t part, std::uint64_t whole) {
    return whole == 0 ? "" : " (" + Fixed(100.0 * static_cast<double>(part) / static_cast<double>(whole), 1) + " %)";
}

std::string MillisecondsText(const velmo_report::Distribution& values) {
    return "p50 " + Fixed(values.p50, 1) + " ms, p95 " + Fixed(values.p95, 1) + " ms, p99 " + Fixed(values.p99, 1) +
           " ms, max " + Fixed(values.max, 1) + " ms";
}

}  // namespace

RunReport MakeReport(const RunOptions& options, const velmo_media::VideoFormat& format, const WrittenFramesLog& frames,
                     const RunJournal& journal, const RunOutcome& outcome) {
    const std::vector<FrameRecord>& records = frames.Records();
    RunReport report;
    report.state = outcome.state;
    report.reason = outcome.reason;
    report.input = {options.input == "-" ? "standard input" : options.input, format.size,
                    format.chroma.empty() ? "RGB" : "C" + format.chroma, format.rate.numerator,
                    format.rate.denominator};
    report.settings = SettingsOf(options);
    report.device = outcome.device;
    report.frames = CountsOf(records);
    report.seconds = outcome.seconds;
    report.bringUpSeconds = outcome.bringUpSeconds;
    if (outcome.seconds > 0) report.framesPerSecond = static_cast<double>(records.size()) / outcome.seconds;
    const std::vector<float> latencies = Column(records, &FrameRecord::latencyMs);
    report.latency = velmo_report::DistributionOf(latencies);
    report.waiting = velmo_report::DistributionOf(Column(records, &FrameRecord::waitingMs));
    report.host = velmo_report::DistributionOf(Column(records, &FrameRecord::hostMs));
    report.wayBack = velmo_report::DistributionOf(Column(records, &FrameRecord::wayBackMs));
    report.maskAge = velmo_report::DistributionOf(Column(records, &FrameRecord::maskAgeMs));
    report.timeline = velmo_report::TimelineOf(records, kMostColumns);
    report.histogram = velmo_report::HistogramOf(latencies);
    AddJournal(journal, report);
    report.machine = MachineFacts();
    report.sheet = frames.Sheet();
    report.files = FilesOf(options, !report.sheet.empty());
    return report;
}

std::string Summary(const RunReport& report) {
    const velmo_report::FrameCounts& frames = report.frames;
    std::string text = "frames      " + std::to_string(frames.written) + ": " + std::to_string(frames.inferred) +
                       " inferred" + Percent(frames.inferred, frames.written) + ", " + std::to_string(frames.reused) +
                       " with an older mask" + Percent(frames.reused, frames.written);
    if (frames.noMask > 0) text += ", " + std::to_string(frames.noMask) + " without a mask";
    if (frames.lost > 0) text += ", " + std::to_string(frames.lost) + " lost";
    text += "\nrate        " + Fixed(report.framesPerSecond, 1) + " frames per second, in " + Fixed(report.seconds, 2) +
            " s";
    text += "\nlatency     " + MillisecondsText(report.latency);
    text += "\ndevice      " + report.device + ", engine ready after " + Fixed(report.bringUpSeconds, 2) + " s";
    for (const velmo_report::Swap& swap : report.swaps)
        text += "\nswap        after frame " + std::to_string(swap.frame) + ": " + swap.text;
    return text + "\n";
}

}  // namespace velmo_run
