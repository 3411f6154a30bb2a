#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "full_disk.h"
#include "velmo_media/media_error.h"
#include "velmo_report/base64.h"
#include "velmo_report/chart_axis.h"
#include "velmo_report/csv_writer.h"
#include "velmo_report/html_report.h"
#include "velmo_report/html_text.h"
#include "velmo_report/report_json.h"
#include "velmo_report/sheet_picture.h"

namespace run_tests {
namespace {

using nlohmann::json;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Key;
using testing::Not;
using velmo_report::CsvWriter;
using velmo_report::Escaped;
using velmo_report::FrameOutcome;
using velmo_report::FrameRecord;
using velmo_report::HtmlReport;
using velmo_report::RunReport;
using velmo_report::SheetFrame;

// A run with something in every part.
RunReport Example() {
    std::vector<FrameRecord> records;
    std::vector<float> latencies;
    for (std::uint64_t frame = 0; frame < 1300; ++frame) {
        FrameRecord record;
        record.index = frame;
        record.outcome = static_cast<FrameOutcome>(frame % 4);
        record.latencyMs = record.outcome == FrameOutcome::Lost ? -1 : static_cast<float>(frame % 17) * 1.37F + 0.01F;
        if (record.latencyMs >= 0) latencies.push_back(record.latencyMs);
        records.push_back(record);
    }
    latencies.back() = 4000.5F;
    RunReport report;
    report.state = velmo_report::RunState::Failed;
    report.reason = "the process ended with signal 9\n    <last> words";
    report.input = {"<script>alert('x')</script> & co.y4m", {641, 359}, "C420jpeg", 30000, 1001};
    report.settings = {{"model folder", "a \"quoted\" & <folder>"}};
    report.files = {{"composite", "-"}};
    report.device = "CPU";
    report.frames = {1300, 325, 325, 325, 325};
    report.seconds = 21.6667;
    report.framesPerSecond = 60.0004;
    report.bringUpSeconds = 0.2345;
    report.latency = velmo_report::DistributionOf(latencies);
    report.waiting = velmo_report::DistributionOf({0.25F, 0.5F, 3});
    report.host = velmo_report::DistributionOf({1.125F});
    report.timeline = velmo_report::TimelineOf(records, 480);
    report.histogram = velmo_report::HistogramOf(latencies);
    report.swapRequests = {{100, "CPU"}};
    report.swaps = {{104, "engine swapped"}};
    report.notices = {{104, 1.5, "engine <swapped>"}};
    report.noticesLeftOut = 3;
    report.metrics = {{100, 100, 64, {36, 0, 1, 0, 1}, {36, 2, 9, 3, 8}, {36, 0, 2, 1, 2}}};
    report.metricLines = {"rounds=100 <raw>"};
    report.machine = {{"IsStrongProcessor", "cores", "4", "yes"}};
    velmo_media::Picture picture({velmo_media::ColourModel::Rgb, 0, 0, velmo_media::ColourRange::Full}, {2, 1});
    std::ranges::fill(picture.Bytes(), std::uint8_t{200});
    report.sheet = {{0, FrameOutcome::Inferred, picture, picture, picture},
                    {700, FrameOutcome::Reused, picture, picture, picture}};
    return report;
}

std::string AttributeOf(const std::string& tag, const std::string& name) {
    const std::size_t begin = tag.find(" " + name + "=\"");
    if (begin == std::string::npos) return "(none)";
    const std::size_t value = begin + name.size() + 3;
    return tag.substr(value, tag.find('"', value) - value);
}

struct Shown {
    std::string text;
    int decimals = 0;
};

// By their places in the JSON: what the marked elements of a page show.
std::multimap<std::string, Shown> NumbersOf(const std::string& page) {
    std::multimap<std::string, Shown> numbers;
    for (std::size_t at = page.find(" data-json=\""); at != std::string::npos;
         at = page.find(" data-json=\"", at + 1)) {
        const std::size_t end = page.find('>', at);
        const std::string tag = page.substr(at, end - at);
        std::string text = AttributeOf(tag, "data-value");
        if (text == "(none)") text = page.substr(end + 1, page.find('<', end) - end - 1);
        numbers.emplace(AttributeOf(tag, "data-json"), Shown{text, std::stoi(AttributeOf(tag, "data-decimals"))});
    }
    return numbers;
}

TEST(Report, ShowsExactlyTheNumbersOfItsJson) {
    const RunReport report = Example();
    const json document = json::parse(velmo_report::JsonText(report));
    const auto numbers = NumbersOf(HtmlReport(report));

    for (const auto& [pointer, shown] : numbers) {
        SCOPED_TRACE(pointer);
        const double value = document.at(json::json_pointer(pointer)).get<double>();
        double half = 0.5;
        for (int decimal = 0; decimal < shown.decimals; ++decimal)
            half /= 10;
        char* end = nullptr;
        EXPECT_NEAR(std::strtod(shown.text.c_str(), &end), value, half + 1e-9);
        EXPECT_EQ(*end, '\0') << shown.text;
    }
    for (const char* part : {"/latencyMs/p50", "/latencyMs/p95", "/latencyMs/p99", "/latencyMs/max", "/frames/written",
                             "/frames/inferred", "/frames/reused", "/frames/noMask", "/frames/lost", "/waitingMs/mean",
                             "/hostMs/max", "/wayBackMs/p50", "/maskAgeMs/p95", "/metrics/0/infer/average",
                             "/timeline/framesPerColumn", "/notices/0/seconds", "/contactSheet/1/frame"})
        EXPECT_THAT(numbers, Contains(Key(part)));
    EXPECT_GT(numbers.size(), 400u) << "each column and bar is a number too";
}

TEST(Report, HasTheNumbersOfTheRunInItsJson) {
    const RunReport report = Example();
    const json document = json::parse(velmo_report::JsonText(report));
    EXPECT_EQ(document.at("state"), "failed");
    EXPECT_EQ(document.at("frames").at("written"), 1300);
    EXPECT_EQ(document.at("frames").at("reusedPercent"), 25.0);
    EXPECT_EQ(document.at("input").at("framesPerSecond"), 29.97);
    EXPECT_EQ(document.at("framesPerSecond"), 60.0);
    EXPECT_EQ(document.at("latencyMs").at("max"), 4000.5);
    EXPECT_EQ(document.at("hostMs").at("p50"), 1.125);
    EXPECT_EQ(document.at("hostMs").at("count"), 1);
    EXPECT_EQ(document.at("timeline").at("columns").size(), 434u);  // of three frames each
    EXPECT_EQ(document.at("swaps").at(0).at("frame"), 104);
    EXPECT_EQ(document.at("metrics").at(0).at("infer").at("p95"), 8);
    EXPECT_EQ(document.at("machine").at(0).at("value"), "4");
    EXPECT_EQ(document.at("contactSheet").at(1).at("outcome"), "reused");
}

TEST(Report, LetsNoTextBecomeMarkup) {
    const std::string page = HtmlReport(Example());
    EXPECT_THAT(page, Not(HasSubstr("<script")));
    EXPECT_THAT(page, Not(HasSubstr("<raw>")));
    EXPECT_THAT(page, Not(HasSubstr("<last>")));
    EXPECT_THAT(page, HasSubstr("&lt;script&gt;alert(&#39;x&#39;)&lt;/script&gt; &amp; co.y4m"));
    EXPECT_THAT(page, HasSubstr("a &quot;quoted&quot; &amp; &lt;folder&gt;"));
}

TEST(Report, NeedsNoOtherFile) {
    const std::string page = HtmlReport(Example());
    EXPECT_THAT(page, Not(HasSubstr("http")));
    EXPECT_THAT(page, Not(HasSubstr("<link")));
    std::size_t pictures = 0;
    for (std::size_t at = page.find("src=\""); at != std::string::npos; at = page.find("src=\"", at + 1)) {
        EXPECT_EQ(page.compare(at, 27, "src=\"data:image/png;base64,"), 0);
        ++pictures;
    }
    EXPECT_EQ(pictures, 6u);
}

TEST(Report, TellsOfFramesBeyondTheScaleOfItsChart) {
    RunReport report = Example();
    report.timeline.columns[5].max = report.latency.max;
    EXPECT_THAT(HtmlReport(report), HasSubstr("beyond the scale: the slowest took"));
    report.latency.max = report.latency.p99;
    for (auto& column : report.timeline.columns)
        column.max = std::min(column.max, report.latency.max);
    EXPECT_THAT(HtmlReport(report), Not(HasSubstr("beyond the scale")));
}

TEST(Report, OfARunWithoutAFrameIsAPageToo) {
    RunReport report;
    report.reason = "there is no frame in it";
    const std::string page = HtmlReport(report);
    EXPECT_THAT(page, HasSubstr("there is no frame in it"));
    EXPECT_THAT(page, HasSubstr("</html>"));
    EXPECT_EQ(json::parse(velmo_report::JsonText(report)).at("frames").at("reusedPercent"), 0.0);
}

TEST(Report, ReplacesBytesThatAreNoText) {
    RunReport report;
    report.input.name =
        "a\xFF"
        "b";
    EXPECT_TRUE(json::accept(velmo_report::JsonText(report)));
    EXPECT_THAT(HtmlReport(report), HasSubstr("a\\xFFb"));
}

TEST(SheetPicture, HasAColumnForEachFrameWithItsMaskAndComposite) {
    const auto filled = [](velmo_media::Size size, std::uint8_t value) {
        velmo_media::Picture picture({}, size);
        std::fill(picture.Bytes().begin(), picture.Bytes().end(), value);
        return picture;
    };
    velmo_media::Picture mask({velmo_media::ColourModel::Grey, 0, 0, velmo_media::ColourRange::Full}, {2, 1});
    mask.Plane(0)[0] = 200;
    mask.Plane(0)[1] = 100;
    const std::vector<SheetFrame> frames = {{0, FrameOutcome::Inferred, filled({2, 1}, 1), mask, filled({2, 1}, 2)},
                                            {9, FrameOutcome::Reused, filled({2, 1}, 3), mask, filled({2, 1}, 4)}};

    const velmo_media::Picture sheet = velmo_report::SheetPicture(frames);

    constexpr std::uint32_t kGap = velmo_report::kSheetGap;
    constexpr std::uint32_t kWidth = kGap + 2 * (2 + kGap);
    ASSERT_EQ(sheet.Dimensions(), (velmo_media::Size{kWidth, kGap + 3 * (1 + kGap)}));
    const auto at = [&](std::size_t plane, std::uint32_t x, std::uint32_t y) {
        return int{sheet.Plane(plane)[std::size_t{y} * kWidth + x]};
    };
    for (std::size_t plane = 0; plane < 3; ++plane) {
        EXPECT_EQ(at(plane, 0, 0), velmo_report::kSheetBackground);
        EXPECT_EQ(at(plane, kGap - 1, kGap), velmo_report::kSheetBackground);
        EXPECT_EQ(at(plane, kGap, kGap), 1);
        EXPECT_EQ(at(plane, kGap + 1, kGap), 1);
        EXPECT_EQ(at(plane, kGap + 2, kGap), velmo_report::kSheetBackground);
        EXPECT_EQ(at(plane, kGap, 2 * kGap + 1), 200);
        EXPECT_EQ(at(plane, kGap + 1, 2 * kGap + 1), 100);
        EXPECT_EQ(at(plane, kGap, 3 * kGap + 2), 2);
        EXPECT_EQ(at(plane, 2 * kGap + 2, kGap), 3);
        EXPECT_EQ(at(plane, 2 * kGap + 3, 3 * kGap + 2), 4);
    }
}

TEST(SheetPicture, OfNoFramesIsEmpty) {
    EXPECT_EQ(velmo_report::SheetPicture({}).Dimensions().Area(), 0U);
}

TEST(HtmlText, KeepsTextAndShowsWhatIsNone) {
    EXPECT_EQ(Escaped("Gr\u00FC\u00DFe, \u4E16, \U0001F600"), "Gr\u00FC\u00DFe, \u4E16, \U0001F600");
    EXPECT_EQ(Escaped("a\tb\x7F"), "a\\x09b\\x7F");
    EXPECT_EQ(Escaped("\xC3"), "\\xC3");           // cut off
    EXPECT_EQ(Escaped("\xC0\xAF"), "\\xC0\\xAF");  // longer than needed
    EXPECT_EQ(Escaped("\xE0\x9F\xBF"), "\\xE0\\x9F\\xBF");
    EXPECT_EQ(Escaped("\xED\xA0\x80"), "\\xED\\xA0\\x80");  // half of a pair
    EXPECT_EQ(Escaped("\xF4\x90\x80\x80"), "\\xF4\\x90\\x80\\x80");
    EXPECT_EQ(Escaped("\xE4\xB8<"), "\\xE4\\xB8&lt;");
}

TEST(Base64, HasTheExamplesOfItsStandard) {
    const auto of = [](const std::string& text) {
        return velmo_report::Base64(
            {static_cast<const std::uint8_t*>(static_cast<const void*>(text.data())), text.size()});
    };
    EXPECT_EQ(of(""), "");
    EXPECT_EQ(of("f"), "Zg==");
    EXPECT_EQ(of("fo"), "Zm8=");
    EXPECT_EQ(of("foo"), "Zm9v");
    EXPECT_EQ(of("foob"), "Zm9vYg==");
    EXPECT_EQ(of("fooba"), "Zm9vYmE=");
    EXPECT_EQ(of("foobar"), "Zm9vYmFy");
    EXPECT_EQ(of("\xFB\xEF\xFF"), "++//");
}

TEST(ChartAxis, HasFewTicksThatAreEasyToRead) {
    EXPECT_THAT(velmo_report::Ticks(10), ElementsAre(0, 2, 4, 6, 8, 10));
    EXPECT_THAT(velmo_report::Ticks(0.12), testing::SizeIs(testing::AllOf(testing::Ge(3u), testing::Le(8u))));
    for (double most = 0.013; most < 1e6; most *= 1.7) {
        const auto ticks = velmo_report::Ticks(most);
        EXPECT_GE(ticks.size(), 3u) << most;
        EXPECT_LE(ticks.size(), 8u) << most;
        EXPECT_LE(ticks.back(), most * 1.0000001);
    }
    EXPECT_EQ(velmo_report::TickText(2.5, 0.5), "2.5");
    EXPECT_EQ(velmo_report::TickText(0.25, 0.05), "0.25");
    EXPECT_EQ(velmo_report::TickText(1200, 200), "1200");
}

TEST(Csv, HasARowPerFrameAndLeavesOutWhatCannotBeTold) {
    std::ostringstream out;
    CsvWriter csv(out, "a.csv");
    csv.Write({0, FrameOutcome::Inferred, 0.5F, 3.25F, 2, 5.25F, 2});
    csv.Write({1, FrameOutcome::Reused, 0, -1, -1, 0.125F, 40});
    csv.Write({2, FrameOutcome::NoMask, 1, -1, -1, 7, -1});
    csv.Write({3, FrameOutcome::Lost, 1.5F, -1, -1, -1, -1});
    EXPECT_EQ(out.str(),
              "frame,outcome,mask_age_ms,waiting_ms,host_ms,way_back_ms,latency_ms\n"
              "0,inferred,2.000,0.500,3.250,2.000,5.250\n"
              "1,reused,40.000,0.000,,,0.125\n"
              "2,no mask,,1.000,,,7.000\n"
              "3,lost,,1.500,,,\n");
}

TEST(Csv, TellsThatTheDiskIsFull) {
    FullDisk disk(100);
    std::ostream out(&disk);
    CsvWriter csv(out, "a.csv");
    const FrameRecord record;
    try {
        for (int row = 0; row < 100; ++row)
            csv.Write(record);
        FAIL() << "there is no room for a hundred rows";
    } catch (const velmo_media::MediaError& error) {
        EXPECT_THAT(error.what(), HasSubstr("can't write a.csv: No space left on device"));
    }
}

}  // namespace
}  // namespace run_tests
