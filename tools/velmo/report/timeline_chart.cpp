#include "velmo_report/timeline_chart.h"

#include <algorithm>
#include <cstddef>

#include "velmo_report/chart_axis.h"
#include "velmo_report/chart_elements.h"

namespace velmo_report {
namespace {

constexpr double kHeight = 300;
constexpr double kLeft = 46;
constexpr double kRight = 1060;
constexpr double kTop = 26;
constexpr double kBottom = 226;
constexpr double kStripTop = 234;
constexpr double kStripBottom = 250;

// Few frames may take a hundred times as long as all others; these must not flatten the rest to a line.
double MostShown(const Distribution& latency) {
    constexpr double kFar = 2.5;
    constexpr double kRoom = 1.5;
    constexpr double kLeast = 0.1;
    const double most = latency.max > kFar * latency.p99 ? kRoom * latency.p99 : latency.max;
    return std::max(most * 1.04, kLeast);
}

class Drawing {
 public:
    Drawing(const RunReport& report, const PageNumbers& numbers)
        : m_report(report),
          m_numbers(numbers),
          m_frames{kLeft, kRight, static_cast<double>(std::max<std::uint64_t>(1, report.frames.written))},
          m_latency{kBottom, kTop, MostShown(report.latency)} {}

    std::string Draw() {
        m_svg =
            "<svg class=\"chart\" id=\"timeline\" viewBox=\"0 0 1080 300\" role=\"img\" "
            "aria-label=\"Latency of each frame over time\">\n";
        DrawAxes();
        for (std::size_t at = 0; at < m_report.timeline.columns.size(); ++at) {
            DrawLatency(at);
            DrawStrip(m_report.timeline.columns[at]);
        }
        DrawSwaps();
        return m_svg + "</svg>\n";
    }

 private:
    void Line(const char* kind, double x1, double y1, double x2, double y2, const std::string& more = "") {
        m_svg += ChartLine(kind, x1, y1, x2, y2, more);
    }
    void Text(const char* kind, double x, double y, const std::string& text) { m_svg += ChartText(kind, x, y, text); }
    void Rectangle(const char* kind, double x, double y, double width, double height) {
        if (width <= 0 || height <= 0) return;
        m_svg += std::string("<rect class=\"") + kind + "\" x=\"" + Place(x) + "\" y=\"" + Place(y) + "\" width=\"" +
                 Place(std::max(0.4, width)) + "\" height=\"" + Place(height) + "\"/>\n";
    }

    void DrawAxes() {
        const auto latencies = Ticks(m_latency.most);
        for (const double tick : latencies) {
            Line("grid", kLeft, m_latency.At(tick), kRight, m_latency.At(tick));
            Text("tick end", kLeft - 6, m_latency.At(tick) + 4, TickText(tick, latencies[1]));
        }
        Text("tick", 4, kTop - 12, "ms");
        for (const double tick : WholeTicks(m_frames.most))
            Text("tick middle", m_frames.At(tick), kStripBottom + 16, TickText(tick, 1));
        Text("tick middle", (kLeft + kRight) / 2, kHeight - 14, "frame");
    }

    void DrawLatency(std::size_t at) {
        const TimelineColumn& column = m_report.timeline.columns[at];
        if (column.timed == 0) return;
        const double x = m_frames.At(static_cast<double>(column.first) + static_cast<double>(column.frames) / 2);
        const bool isReused = 2 * column.reused > column.frames;
        const bool isBeyond = column.max > m_latency.most;
        const double top = isBeyond ? kTop : m_latency.At(column.max);
        const std::string marks = m_numbers.Marks("/timeline/columns/" + std::to_string(at) + "/max", 3);
        // A frame by itself gets a stem to stand on, or it would be lost among others.
        const double bottom = m_report.timeline.framesPerColumn == 1 ? 0 : std::min(column.min, m_latency.most);
        Line(isReused ? "span reused" : "span inferred", x, m_latency.At(bottom), x, top, marks);
        const double middle = m_latency.At(std::min(column.median, m_latency.most));
        m_svg += std::string("<circle class=\"") + (isReused ? "dot reused" : "dot inferred") + "\" cx=\"" + Place(x) +
                 "\" cy=\"" + Place(middle) + "\" r=\"1.9\"/>\n";
        if (isBeyond) {
            m_svg += std::string("<path ") + kBeyondMark + " d=\"M" + Place(x - 4) + " " + Place(kTop + 2) +
                     "h8l-4 -7z\"><title>" + TickText(column.max, 0.1) + " ms</title></path>\n";
        }
    }

    void DrawStrip(const TimelineColumn& column) {
        const double x = m_frames.At(static_cast<double>(column.first));
        const double width = m_frames.At(static_cast<double>(column.first + column.frames)) - x;
        const double height = kStripBottom - kStripTop;
        const double share = height / static_cast<double>(column.frames);
        const double reused = share * static_cast<double>(column.reused);
        const double without = share * static_cast<double>(column.without);
        Rectangle("strip inferred", x, kStripTop, width, height - reused - without);
        Rectangle("strip reused", x, kStripBottom - reused - without, width, reused);
        Rectangle("strip without", x, kStripBottom - without, width, without);
    }

    void DrawSwaps() {
        for (const SwapRequest& request : m_report.swapRequests)
            Line("asked", m_frames.At(static_cast<double>(request.frame)), kTop - 8,
                 m_frames.At(static_cast<double>(request.frame)), kStripBottom);
        for (const Swap& swap : m_report.swaps) {
            const double x = m_frames.At(static_cast<double>(swap.frame));
            Line("swap", x, kTop - 8, x, kStripBottom);
            const bool isFarRight = x > (kLeft + kRight) / 2;
            Text(isFarRight ? "swaptext end" : "swaptext", isFarRight ? x - 5 : x + 5, kTop - 12,
                 "swap after " + std::to_string(swap.frame));
        }
    }

    const RunReport& m_report;
    const PageNumbers& m_numbers;
    ChartAxis m_frames;
    ChartAxis m_latency;
    std::string m_svg;
};

}  // namespace

std::string TimelineChart(const RunReport& report, const PageNumbers& numbers) {
    return Drawing(report, numbers).Draw();
}

}  // namespace velmo_report
