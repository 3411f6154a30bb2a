#pragma once

#include <string>

// What the charts are drawn of, as lines of SVG. `kind` is a list of the page style's classes; places are those of the
// drawing.
namespace velmo_report {

std::string ChartText(const char* kind, double x, double y, const std::string& text);

// `more` are attributes of it.
std::string ChartLine(const char* kind, double x1, double y1, double x2, double y2, const std::string& more = "");

}  // namespace velmo_report
