#pragma once

#include <string>
#include <vector>

namespace velmo_report {

// From values to places on a line of a drawing.
struct ChartAxis {
    double from = 0;  // where 0 lies
    double to = 0;    // where `most` lies
    double most = 1;  // above 0

    double At(double value) const { return from + (to - from) * value / most; }
};

// From 0 on, three to eight even values that are easy to read, none above `most`.
std::vector<double> Ticks(double most);

// Those of them that are whole numbers, for what is counted: two to eight where `most` is at least 1.
std::vector<double> WholeTicks(double most);

// "0", "2.5", "1200": no more decimals than the step between ticks needs.
std::string TickText(double value, double step);

// A place in a drawing, in tenths.
std::string Place(double value);

}  // namespace velmo_report
