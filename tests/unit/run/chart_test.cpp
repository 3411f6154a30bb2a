// What the report's charts and tiles show.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "velmo_report/chart_axis.h"
#include "velmo_report/html_report.h"
#include "velmo_report/report_json.h"
#include "velmo_report/timeline_chart.h"

namespace run_tests {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using velmo_report::FrameOutcome;
using velmo_report::FrameRecord;
using velmo_report::RunReport;
using velmo_report::WholeTicks;

// A report of such frames; a latency below 0 is that of a lost one.
RunReport ReportOf(const std::vector<float>& latencies) {
    std::vector<FrameRecord> records;
    std::vector<float> known;
    for (const float latency : latencies) {
        FrameRecord record;
        record.index = records.size();
        record.outcome = latency < 0 ? FrameOutcome::Lost : FrameOutcome::Inferred;
        record.latencyMs = latency;
        if (latency >= 0) known.push_back(latency);
        records.push_back(record);
    }
    RunReport report;
    report.frames.written = records.size();
    report.frames.inferred = known.size();
    report.frames.lost = records.size() - known.size();
    report.latency = velmo_report::DistributionOf(known);
    report.timeline = velmo_report::TimelineOf(records, 480);
    report.histogram = velmo_report::HistogramOf(known);
    return report;
}

std::string ChartOf(const RunReport& report) {
    return velmo_report::TimelineChart(report, velmo_report::PageNumbers(velmo_report::JsonOf(report)));
}

std::size_t CountOf(const std::string& part, const std::string& text) {
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++count;
    return count;
}

// The texts below the timeline, from left to right.
std::vector<std::string> FrameTicksOf(const std::string& chart) {
    constexpr char kTick[] = "<text class=\"tick middle\"";
    std::vector<std::string> ticks;
    for (std::size_t at = chart.find(kTick); at != std::string::npos; at = chart.find(kTick, at + 1)) {
        const std::size_t begin = chart.find('>', at) + 1;
        ticks.push_back(chart.substr(begin, chart.find('<', begin) - begin));
    }
    return ticks;
}

TEST(ChartAxis, HasTicksForCountsAtWholeNumbersAlone) {
    EXPECT_THAT(WholeTicks(1), ElementsAre(0, 1));
    EXPECT_THAT(WholeTicks(2), ElementsAre(0, 1, 2));
    EXPECT_THAT(WholeTicks(3), ElementsAre(0, 1, 2, 3));
    EXPECT_THAT(WholeTicks(10), ElementsAre(0, 2, 4, 6, 8, 10));
    for (int most = 1; most < 2000; ++most) {
        const auto ticks = WholeTicks(most);
        ASSERT_GE(ticks.size(), 2U) << most;
        ASSERT_LE(ticks.size(), 8U) << most;
        for (std::size_t at = 1; at < ticks.size(); ++at)
            ASSERT_GE(ticks[at] - ticks[at - 1], 1 - 1e-6) << most;
    }
}

TEST(TimelineChart, OfFewFramesNamesEachOfThemOnce) {
    EXPECT_THAT(FrameTicksOf(ChartOf(ReportOf({5}))), ElementsAre("0", "1", "frame"));
    EXPECT_THAT(FrameTicksOf(ChartOf(ReportOf({5, 6}))), ElementsAre("0", "1", "2", "frame"));
    EXPECT_THAT(FrameTicksOf(ChartOf(ReportOf({5, 6, 7}))), ElementsAre("0", "1", "2", "3", "frame"));
}

TEST(TimelineChart, HasNoMarkForALatencyThatNobodyKnows) {
    const std::string chart = ChartOf(ReportOf({5, -1, 6, -1, -1}));
    EXPECT_EQ(CountOf("<circle", chart), 2U);
    EXPECT_EQ(CountOf("class=\"span", chart), 2U);
    EXPECT_EQ(CountOf("class=\"strip without\"", chart), 3U) << "the strip tells what became of them";
    EXPECT_EQ(CountOf("<circle", ChartOf(ReportOf({-1, -1}))), 0U);
    EXPECT_EQ(CountOf("<circle", ChartOf(ReportOf({0}))), 1U) << "no time at all is a latency";
}

TEST(Timeline, TellsHowManyFramesHaveALatency) {
    const nlohmann::json json = nlohmann::json::parse(velmo_report::JsonText(ReportOf({5, -1})));
    EXPECT_EQ(json.at("timeline").at("columns").at(0).at("timed"), 1);
    EXPECT_EQ(json.at("timeline").at("columns").at(1).at("timed"), 0);
}

TEST(Report, CallsAnOlderMaskWhatItIs) {
    // Also frames whose inference failed have one; "skipped" is what the process says of its rounds.
    RunReport report = ReportOf({5, 6, -1});
    report.frames.inferred = 1;
    report.frames.reused = 1;
    const std::string page = velmo_report::HtmlReport(report);
    EXPECT_THAT(page, HasSubstr("<small>with an older mask, "));
    EXPECT_THAT(page, Not(HasSubstr("skipped")));
    EXPECT_THAT(page, HasSubstr("written with the mask before them, or as all background before the first mask."));
}

}  // namespace
}  // namespace run_tests
