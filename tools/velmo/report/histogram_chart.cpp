#include "velmo_report/histogram_chart.h"

#include <algorithm>
#include <cstddef>

#include "velmo_report/chart_axis.h"
#include "velmo_report/chart_elements.h"

namespace velmo_report {
namespace {

constexpr double kLeft = 46;
constexpr double kRight = 1060;
constexpr double kTop = 52;
constexpr double kBottom = 222;
constexpr double kTickText = 238;
constexpr double kLabel = 256;

// The lines at the percentiles, each with its name on a row of its own where two come close.
std::string Marks(const Distribution& latency, const ChartAxis& axis) {
    struct Mark {
        const char* name;
        double value;
    };
    constexpr double kCharacter = 6.6;
    std::string svg;
    double free[3] = {0, 0, 0};  // where each row of names has room from
    for (const Mark& mark :
         {Mark{"p50", latency.p50}, Mark{"p95", latency.p95}, Mark{"p99", latency.p99}, Mark{"max", latency.max}}) {
        const bool isBeyond = mark.value > axis.most;
        const double x = axis.At(std::min(mark.value, axis.most));
        const std::string text =
            std::string(mark.name) + " " + TickText(mark.value, 0.1) + (isBeyond ? " ms \u2192" : " ms");
        const double width = kCharacter * static_cast<double>(text.size());
        const bool isRight = x + 4 + width <= kRight;
        const double left = isRight ? x + 4 : x - 4 - width;
        std::size_t row = 0;
        while (row < 2 && free[row] > left)
            ++row;
        free[row] = left + width + 6;
        const double y = 14 + 14 * static_cast<double>(row);
        svg += ChartLine("mark", x, y + 3, x, kBottom);
        svg += ChartText(isRight ? "marktext" : "marktext end", isRight ? x + 4 : x - 4, y, text);
    }
    return svg;
}

}  // namespace

std::string HistogramChart(const RunReport& report, const PageNumbers& numbers) {
    const Histogram& histogram = report.histogram;
    std::string svg =
        "<svg class=\"chart\" id=\"histogram\" viewBox=\"0 0 1080 264\" role=\"img\" "
        "aria-label=\"How many frames had which latency\">\n";
    if (histogram.bins.empty()) return svg + ChartText("tick", kLeft, kTop, "no frame has a latency") + "</svg>\n";

    const auto bins = static_cast<double>(histogram.bins.size());
    const auto highest = static_cast<double>(*std::max_element(histogram.bins.begin(), histogram.bins.end()));
    const ChartAxis latency{kLeft, kRight, bins * histogram.binWidth};
    const ChartAxis count{kBottom, kTop, highest};
    for (const double tick : WholeTicks(highest)) {
        svg += ChartLine("grid", kLeft, count.At(tick), kRight, count.At(tick));
        svg += ChartText("tick end", kLeft - 6, count.At(tick) + 4, TickText(tick, 1));
    }
    for (std::size_t bin = 0; bin < histogram.bins.size(); ++bin) {
        const double left = latency.At(static_cast<double>(bin) * histogram.binWidth);
        const double right = latency.At(static_cast<double>(bin + 1) * histogram.binWidth);
        const double top = count.At(static_cast<double>(histogram.bins[bin]));
        svg += "<rect class=\"bar\" x=\"" + Place(left + 0.5) + "\" y=\"" + Place(top) + "\" width=\"" +
               Place(std::max(0.5, right - left - 1)) + "\" height=\"" + Place(kBottom - top) + "\" " +
               numbers.Marks("/histogram/bins/" + std::to_string(bin), 0) + "/>\n";
    }
    const auto latencies = Ticks(latency.most);
    for (const double tick : latencies)
        svg += ChartText("tick middle", latency.At(tick), kTickText, TickText(tick, latencies[1]));
    svg += ChartText("tick middle", (kLeft + kRight) / 2, kLabel, "latency, ms");
    return svg + Marks(report.latency, latency) + "</svg>\n";
}

}  // namespace velmo_report
