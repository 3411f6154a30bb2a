#include "infra/profile_log_rounds.h"

#include <cstdlib>

#include "infra/sample_series.h"

namespace infra {

std::int64_t ProfileLogRounds(std::int64_t defaultRounds) {
    return ProfileLogRounds(std::getenv(kProfileLogRoundsVariable), defaultRounds);
}

std::int64_t ProfileLogRounds(const char* text, std::int64_t defaultRounds) {
    const std::int64_t fallback = ReportRoundsOrDefault(defaultRounds);
    if (text == nullptr) {
        return fallback;
    }
    // Where there is no digit this is 0, which falls back as well; what is out of range saturates.
    const std::int64_t rounds = std::strtoll(text, nullptr, 10);
    return rounds < 1 ? fallback : rounds;
}

}  // namespace infra
