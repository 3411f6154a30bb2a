#include "velmo_report/report_json.h"

#include <cmath>

namespace velmo_report {
namespace {

using Json = nlohmann::ordered_json;

// Thousandths are all that is measured, and are easier to read.
double Rounded(double value) {
    constexpr double kThousandths = 1000;
    return std::round(value * kThousandths) / kThousandths;
}

double Percent(std::uint64_t part, std::uint64_t whole) {
    return whole == 0 ? 0 : Rounded(100.0 * static_cast<double>(part) / static_cast<double>(whole));
}

Json JsonOf(const Distribution& values) {
    return {{"count", values.count},      {"min", Rounded(values.min)}, {"mean", Rounded(values.mean)},
            {"p50", Rounded(values.p50)}, {"p95", Rounded(values.p95)}, {"p99", Rounded(values.p99)},
            {"max", Rounded(values.max)}};
}

Json JsonOf(const InputFacts& input) {
    const bool hasRate = input.rateNumerator != 0 && input.rateDenominator != 0;
    return {
        {"name", input.name},
        {"width", input.size.width},
        {"height", input.size.height},
        {"pixels", input.pixels},
        {"rateNumerator", input.rateNumerator},
        {"rateDenominator", input.rateDenominator},
        {"framesPerSecond", hasRate ? Rounded(static_cast<double>(input.rateNumerator) / input.rateDenominator) : 0.0}};
}

Json JsonOf(const FrameCounts& frames) {
    return {{"written", frames.written},
            {"inferred", frames.inferred},
            {"reused", frames.reused},
            {"noMask", frames.noMask},
            {"lost", frames.lost},
            {"inferredPercent", Percent(frames.inferred, frames.written)},
            {"reusedPercent", Percent(frames.reused, frames.written)}};
}

Json JsonOf(const Timeline& timeline) {
    Json columns = Json::array();
    for (const TimelineColumn& column : timeline.columns) {
        columns.push_back({{"first", column.first},
                           {"frames", column.frames},
                           {"reused", column.reused},
                           {"without", column.without},
                           {"timed", column.timed},
                           {"min", Rounded(column.min)},
                           {"median", Rounded(column.median)},
                           {"max", Rounded(column.max)}});
    }
    return {{"framesPerColumn", timeline.framesPerColumn}, {"columns", std::move(columns)}};
}

Json JsonOf(const PhaseTimes& phase) {
    return {
        {"count", phase.count}, {"min", phase.min}, {"max", phase.max}, {"average", phase.average}, {"p95", phase.p95}};
}

Json JsonOf(const ProcessMetrics& metrics) {
    return {{"frame", metrics.frame},         {"rounds", metrics.rounds},
            {"skipped", metrics.skipped},     {"preprocess", JsonOf(metrics.preprocess)},
            {"infer", JsonOf(metrics.infer)}, {"postprocess", JsonOf(metrics.postprocess)}};
}

template <class Items, class Function>
Json ListOf(const Items& items, Function function) {
    Json list = Json::array();
    for (const auto& item : items)
        list.push_back(function(item));
    return list;
}

Json SettingsOf(const std::vector<Setting>& settings) {
    return ListOf(settings, [](const Setting& one) { return Json{{"name", one.name}, {"value", one.value}}; });
}

}  // namespace

Json JsonOf(const RunReport& report) {
    Json json;
    json["state"] = NameOf(report.state);
    json["reason"] = report.reason;
    json["input"] = JsonOf(report.input);
    json["settings"] = SettingsOf(report.settings);
    json["files"] = SettingsOf(report.files);
    json["device"] = report.device;
    json["frames"] = JsonOf(report.frames);
    json["seconds"] = Rounded(report.seconds);
    json["framesPerSecond"] = Rounded(report.framesPerSecond);
    json["bringUpSeconds"] = Rounded(report.bringUpSeconds);
    json["latencyMs"] = JsonOf(report.latency);
    json["waitingMs"] = JsonOf(report.waiting);
    json["hostMs"] = JsonOf(report.host);
    json["wayBackMs"] = JsonOf(report.wayBack);
    json["maskAgeMs"] = JsonOf(report.maskAge);
    json["timeline"] = JsonOf(report.timeline);
    json["histogram"] = {{"binWidthMs", report.histogram.binWidth}, {"bins", report.histogram.bins}};
    json["swapRequests"] = ListOf(report.swapRequests, [](const SwapRequest& one) {
        return Json{{"frame", one.frame}, {"device", one.device}};
    });
    json["swaps"] = ListOf(report.swaps, [](const Swap& one) {
        return Json{{"frame", one.frame}, {"text", one.text}};
    });
    json["notices"] = ListOf(report.notices, [](const NoticeLine& one) {
        return Json{{"frame", one.frame}, {"seconds", Rounded(one.seconds)}, {"text", one.text}};
    });
    json["noticesLeftOut"] = report.noticesLeftOut;
    json["metrics"] = ListOf(report.metrics, [](const ProcessMetrics& one) { return JsonOf(one); });
    json["metricLines"] = report.metricLines;
    json["machine"] = ListOf(report.machine, [](const MachineFact& one) {
        return Json{{"probe", one.probe}, {"label", one.label}, {"value", one.value}, {"meaning", one.meaning}};
    });
    json["contactSheet"] = ListOf(report.sheet, [](const SheetFrame& one) {
        return Json{{"frame", one.frame}, {"outcome", NameOf(one.outcome)}};
    });
    return json;
}

std::string JsonText(const RunReport& report) {
    return JsonOf(report).dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace velmo_report
