#include "velmo_report/html_report.h"

#include <cstddef>
#include <string_view>

#include "velmo_media/png_codec.h"
#include "velmo_report/base64.h"
#include "velmo_report/histogram_chart.h"
#include "velmo_report/html_text.h"
#include "velmo_report/page_style.h"
#include "velmo_report/report_json.h"
#include "velmo_report/timeline_chart.h"

namespace velmo_report {
namespace {

std::string At(const char* list, std::size_t index, const char* field) {
    return std::string("/") + list + "/" + std::to_string(index) + "/" + field;
}

class Page {
 public:
    explicit Page(const RunReport& report) : m_report(report), m_numbers(JsonOf(report)) {}

    std::string Write() {
        Begin();
        Tiles();
        Sheet();
        Charts();
        Parts();
        Process();
        Facts();
        m_html +=
            "<footer>Made by velmo run. Times are taken on the steady clock that both processes share; the way "
            "back and the age of a mask come in whole milliseconds.</footer>\n</main>\n</body>\n</html>\n";
        return m_html;
    }

 private:
    std::string Number(const std::string& pointer, int decimals = 0) const {
        return m_numbers.Number(pointer, decimals);
    }

    void Begin() {
        const std::string title = Escaped(m_report.input.name);
        m_html =
            "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
            "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n<title>velmo run: " +
            title + "</title>\n<style>" + kPageStyle + "</style>\n</head>\n<body>\n<main>\n<header>\n<h1>" + title +
            " <span class=\"state " + NameOf(m_report.state) + "\" id=\"state\">" + NameOf(m_report.state) +
            "</span></h1>\n<p class=\"quiet\">" + Number("/input/width") + " \u00d7 " + Number("/input/height") + ", " +
            Escaped(m_report.input.pixels);
        if (m_report.input.rateNumerator != 0 && m_report.input.rateDenominator != 0) {
            m_html += ", " + Number("/input/framesPerSecond", 2) + " frames per second";
        }
        m_html += ". The process ran on " + Escaped(m_report.device.empty() ? "no device" : m_report.device) +
                  "; its engine was ready after " + Number("/bringUpSeconds", 2) + " s.</p>\n";
        if (!m_report.reason.empty()) m_html += "<p class=\"reason\">" + ReasonText() + "</p>\n";
        m_html += "</header>\n";
    }

    // The reason may have lines.
    std::string ReasonText() const {
        std::string text;
        std::string rest = m_report.reason;
        for (std::size_t end = rest.find('\n'); end != std::string::npos; end = rest.find('\n')) {
            text += Escaped(rest.substr(0, end)) + "\n";
            rest.erase(0, end + 1);
        }
        return text + Escaped(rest);
    }

    void Tile(const std::string& value, const std::string& what) {
        m_html += "<div class=\"tile\"><b>" + value + "</b><small>" + what + "</small></div>\n";
    }

    void Tiles() {
        m_html += "<div class=\"tiles\">\n";
        Tile(Number("/frames/written"), "frames in " + Number("/seconds", 2) + " s");
        Tile(Number("/framesPerSecond", 1), "frames per second");
        Tile(Number("/frames/inferred"), "inferred, " + Number("/frames/inferredPercent", 1) + "\u202f% of all");
        Tile(Number("/frames/reused"), "with an older mask, " + Number("/frames/reusedPercent", 1) + "\u202f% of all");
        Tile(Number("/latencyMs/p50", 1) + "\u202fms", "latency, p50");
        Tile(Number("/latencyMs/p99", 1) + "\u202fms", "latency, p99");
        m_html += "</div>\n";
        if (m_report.frames.noMask + m_report.frames.lost == 0) return;
        m_html += "<section><p class=\"reason\" style=\"margin:0\">" + Number("/frames/noMask") +
                  " frames came back without a mask, and " + Number("/frames/lost") +
                  " got no result. They were written with the mask before them, or as all background before the first "
                  "mask.</p></section>\n";
    }

    void Image(const velmo_media::Picture& picture, const std::string& what) {
        velmo_media::EncodePng(picture, m_png);
        m_html += "<img alt=\"" + Escaped(what) + "\" src=\"data:image/png;base64," + Base64(m_png) + "\">\n";
    }

    void SheetRow(const char* name, velmo_media::Picture SheetFrame::*picture) {
        m_html += std::string("<span class=\"name\">") + name + "</span>\n";
        for (const SheetFrame& frame : m_report.sheet)
            Image(frame.*picture, std::string(name) + " " + std::to_string(frame.frame));
    }

    void Sheet() {
        if (m_report.sheet.empty()) return;
        m_html += "<section>\n<h2>What went in and what came out</h2>\n<div class=\"sheet\" style=\"--columns:" +
                  std::to_string(m_report.sheet.size()) + "\">\n";
        SheetRow("frame", &SheetFrame::picture);
        SheetRow("mask", &SheetFrame::mask);
        SheetRow("composite", &SheetFrame::composite);
        m_html += "<span class=\"name\"></span>\n";
        for (std::size_t at = 0; at < m_report.sheet.size(); ++at) {
            m_html += "<div class=\"caption\"><b>" + Number(At("contactSheet", at, "frame")) + "</b><br>" +
                      NameOf(m_report.sheet[at].outcome) + "</div>\n";
        }
        m_html += "</div>\n</section>\n";
    }

    void Key(const char* colour, const std::string& text) {
        m_html += std::string("<span><i style=\"background:var(--") + colour + ")\"></i>" + text + "</span>\n";
    }

    void Charts() {
        m_html +=
            "<section>\n<h2>Latency over time</h2>\n<p class=\"quiet\">From the moment at which there was room for "
            "a frame to its result. ";
        if (m_report.timeline.framesPerColumn > 1) {
            m_html += "Each column stands for " + Number("/timeline/framesPerColumn") +
                      " frames: the line reaches from the fastest to the slowest, the dot is the one in the middle. ";
        }
        m_html += "The strip shows what became of the frames.</p>\n";
        const std::string timeline = TimelineChart(m_report, m_numbers);
        m_html += timeline + "<div class=\"key\">\n";
        Key("inferred", "inferred");
        Key("reused", "an older mask");
        Key("without", "without a mask");
        if (timeline.find(kBeyondMark) != std::string::npos) {
            m_html +=
                "<span>\u25B2 beyond the scale: the slowest took " + Number("/latencyMs/max", 1) + "\u202fms</span>\n";
        }
        if (!m_report.swapRequests.empty()) Key("swap", "engine asked for (dotted) and swapped (solid)");
        m_html += "</div>\n</section>\n<section>\n<h2>How the latencies are spread</h2>\n";
        m_html += HistogramChart(m_report, m_numbers) + "</section>\n";
    }

    void PartRow(const char* field, const char* name, const char* meaning) {
        const std::string pointer = std::string("/") + field;
        m_html += std::string("<tr><td>") + name + "<br><span class=\"quiet\">" + meaning + "</span></td>";
        m_html += "<td class=\"r\">" + Number(pointer + "/count") + "</td>";
        for (const char* value : {"mean", "p50", "p95", "p99", "max"})
            m_html += "<td class=\"r\">" + Number(pointer + "/" + value, 2) + "</td>";
        m_html += "</tr>\n";
    }

    void Parts() {
        m_html +=
            "<section>\n<h2>Where the time goes</h2>\n<div class=\"wide\"><table>\n<tr><th>milliseconds</th>"
            "<th class=\"r\">frames</th><th class=\"r\">mean</th><th class=\"r\">p50</th><th class=\"r\">p95</th>"
            "<th class=\"r\">p99</th><th class=\"r\">max</th></tr>\n";
        PartRow("waitingMs", "waiting", "read, scaled and due, until there was room for it");
        PartRow("latencyMs", "latency", "from there to its result");
        PartRow("hostMs", "\u2003in the process", "of inferred frames: until the network was done");
        PartRow("wayBackMs", "\u2003way back", "of inferred frames: from there to here");
        PartRow("maskAgeMs", "age of the mask", "when the result came");
        m_html += "</table></div>\n</section>\n";
    }

    void Phase(std::size_t at, const char* name) {
        for (const char* value : {"average", "p95", "max"}) {
            const bool isFirst = value == std::string_view("average");
            m_html += std::string("<td class=\"r") + (isFirst ? " first" : "") + "\">" +
                      Number(At("metrics", at, name) + "/" + value) + "</td>";
        }
    }

    void Metrics() {
        if (m_report.metrics.empty()) {
            m_html +=
                "<p class=\"quiet\">The process sums up a hundred frames at a time; the run was too short for "
                "it.</p>\n";
            return;
        }
        m_html += "<div class=\"wide\"><table class=\"metrics\">\n<tr><th colspan=\"3\"></th>";
        for (const char* phase : {"prepare", "infer", "take out"})
            m_html += std::string("<th class=\"c\" colspan=\"3\">") + phase + "</th>";
        m_html += "</tr>\n<tr><th class=\"r\">frames</th><th class=\"r\">rounds</th><th class=\"r\">skipped</th>";
        for (int phase = 0; phase < 3; ++phase)
            m_html += "<th class=\"r first\">mean</th><th class=\"r\">p95</th><th class=\"r\">max</th>";
        m_html += "</tr>\n";
        for (std::size_t at = 0; at < m_report.metrics.size(); ++at) {
            m_html += "<tr>";
            for (const char* field : {"frame", "rounds", "skipped"})
                m_html += "<td class=\"r\">" + Number(At("metrics", at, field)) + "</td>";
            for (const char* phase : {"preprocess", "infer", "postprocess"})
                Phase(at, phase);
            m_html += "</tr>\n";
        }
        m_html += "</table></div>\n<details><summary>The lines as the process logged them</summary>\n<pre>";
        for (const std::string& line : m_report.metricLines)
            m_html += Escaped(line) + "\n";
        m_html += "</pre></details>\n";
    }

    void Process() {
        m_html += "<section>\n<h2>What the process says of itself</h2>\n";
        m_html += "<p class=\"quiet\">Its own summaries of its frames, in whole milliseconds.</p>\n";
        Metrics();
        m_html +=
            "</section>\n<section>\n<h2>What happened</h2>\n<table>\n<tr><th class=\"r\">s</th>"
            "<th class=\"r\">frames</th><th></th></tr>\n";
        for (std::size_t at = 0; at < m_report.notices.size(); ++at) {
            m_html += "<tr><td class=\"r\">" + Number(At("notices", at, "seconds"), 2) + "</td><td class=\"r\">" +
                      Number(At("notices", at, "frame")) + "</td><td class=\"text\">" +
                      Escaped(m_report.notices[at].text) + "</td></tr>\n";
        }
        m_html += "</table>\n";
        if (m_report.noticesLeftOut > 0) {
            m_html += "<p class=\"quiet\">" + Number("/noticesLeftOut") + " more are left out.</p>\n";
        }
        m_html += "</section>\n";
    }

    void Row(const std::string& name, const std::string& value, const std::string& remark = "") {
        m_html += "<tr><td>" + Escaped(name) + "</td><td class=\"text\">" + Escaped(value);
        if (!remark.empty()) m_html += "<br><span class=\"quiet\">" + Escaped(remark) + "</span>";
        m_html += "</td></tr>\n";
    }

    void Facts() {
        m_html += "<div class=\"pair\">\n<section>\n<h2>Settings</h2>\n<table>\n";
        for (const Setting& setting : m_report.settings)
            Row(setting.name, setting.value);
        for (const Setting& file : m_report.files)
            Row(file.name, file.value == "-" ? "standard output" : file.value);
        m_html += "</table>\n</section>\n<section>\n<h2>Machine</h2>\n<table>\n";
        std::string probe;
        for (const MachineFact& fact : m_report.machine) {
            if (fact.probe != probe) m_html += "<tr><th colspan=\"2\">" + Escaped(fact.probe) + "</th></tr>\n";
            probe = fact.probe;
            Row(fact.label, fact.value.empty() ? "(empty)" : fact.value, fact.meaning);
        }
        m_html += "</table>\n</section>\n</div>\n";
    }

    const RunReport& m_report;
    PageNumbers m_numbers;
    std::string m_html;
    std::vector<std::uint8_t> m_png;
};

}  // namespace

std::string HtmlReport(const RunReport& report) {
    return Page(report).Write();
}

}  // namespace velmo_report
