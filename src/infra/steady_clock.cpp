#include "infra/steady_clock.h"

namespace infra {
namespace {

constexpr std::int64_t kNsPerSecond = 1'000'000'000;
constexpr std::int64_t kNsPerMs = 1'000'000;
constexpr std::int64_t kUsualFrequency = 10'000'000;

}  // namespace

std::int64_t NowNs() {
    return NowNs(platform::SystemClock());
}

std::int64_t NowNs(platform::Clock& clock) {
    const std::int64_t frequency = clock.Frequency();
    const std::int64_t counter = clock.Counter();
    if (frequency == kUsualFrequency) {
        return counter * (kNsPerSecond / kUsualFrequency);
    }
    // Seconds and their rest apart: the counter times a thousand million would not fit 64 bits.
    return counter / frequency * kNsPerSecond + counter % frequency * kNsPerSecond / frequency;
}

std::int64_t ElapsedMs(std::int64_t stampNs) {
    return ElapsedMs(stampNs, platform::SystemClock());
}

std::int64_t ElapsedMs(std::int64_t stampNs, platform::Clock& clock) {
    return (NowNs(clock) - stampNs) / kNsPerMs;
}

std::int64_t NowMs() {
    return NowMs(platform::SystemClock());
}

std::int64_t NowMs(platform::Clock& clock) {
    return NowNs(clock) / kNsPerMs;
}

}  // namespace infra
