#include "velmo_report/chart_elements.h"

#include "velmo_report/chart_axis.h"
#include "velmo_report/html_text.h"

namespace velmo_report {

std::string ChartText(const char* kind, double x, double y, const std::string& text) {
    return std::string("<text class=\"") + kind + "\" x=\"" + Place(x) + "\" y=\"" + Place(y) + "\">" + Escaped(text) +
           "</text>\n";
}

std::string ChartLine(const char* kind, double x1, double y1, double x2, double y2, const std::string& more) {
    return std::string("<line class=\"") + kind + "\" x1=\"" + Place(x1) + "\" y1=\"" + Place(y1) + "\" x2=\"" +
           Place(x2) + "\" y2=\"" + Place(y2) + "\"" + (more.empty() ? "" : " " + more) + "/>\n";
}

}  // namespace velmo_report
