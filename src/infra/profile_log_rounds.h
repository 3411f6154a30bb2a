#pragma once

#include <cstdint>

namespace infra {

// The environment variable with the number of rounds between two reports of the metrics.
inline constexpr char kProfileLogRoundsVariable[] = "CALYR_PROFILE_LOG_ROUNDS";

// The number in the environment variable, or else `defaultRounds`, or 100 where that is below 1 too.
// Thread: any, as long as none changes the environment.
std::int64_t ProfileLogRounds(std::int64_t defaultRounds);

// The same with the variable's text; null when it is not set. Leading blanks and a sign are allowed, reading stops at
// the first char that doesn't fit, and a number above 64 bits counts as the greatest. No number, or one below 1, is
// as good as none.
std::int64_t ProfileLogRounds(const char* text, std::int64_t defaultRounds);

}  // namespace infra
