#pragma once

#include <string>

namespace velmo_report {

// The number with so many decimals and a point, whatever the locale.
std::string Fixed(double value, int decimals);

}  // namespace velmo_report
