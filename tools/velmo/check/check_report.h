#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "velmo_tool/check/check_point.h"

namespace velmo_tool {

// All that was found out about one library.
struct CheckReport {
    std::string libraryPath;
    std::string modelPath;  // empty: no network was tried
    std::vector<CheckPoint> points;

    // True when there is a point and no required one fails.
    bool Good() const;
};

// A table with a line for each point, and a last line with the verdict.
void PrintTable(const CheckReport& report, std::ostream& out);

// One JSON object: "library", "model", "good", and "points" with "name", "required", "holds" and "detail". Bytes that
// are no UTF-8 are replaced.
void PrintJson(const CheckReport& report, std::ostream& out);

}  // namespace velmo_tool
