#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "scenario.h"

namespace hvq_double {

using CallCounts = std::array<std::uint64_t, kFunctionCount>;

// Carries out the commands of `text` on `scenario`; README.md has them. `counts` are the calls so far, which "next" is
// reckoned from. Returns 0, or the number of the first line that can't be understood; the lines before it hold.
std::int32_t RunScript(std::string_view text, const CallCounts& counts, Scenario& scenario);

}  // namespace hvq_double
