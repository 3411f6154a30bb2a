#pragma once

namespace velmo_report {

// The style sheet of the report's page.
extern const char kPageStyle[];

}  // namespace velmo_report
