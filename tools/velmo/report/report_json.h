#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "velmo_report/run_report.h"

namespace velmo_report {

// The report's numbers and texts; the pictures are left out. docs/velmo-run.md describes it.
nlohmann::ordered_json JsonOf(const RunReport& report);

// As a file; bytes that are no UTF-8 are replaced.
std::string JsonText(const RunReport& report);

}  // namespace velmo_report
