#pragma once

#include <cstdint>

#include "platform/clock.h"

// Durations on the machine's steady clock. Thread: any.
namespace infra {

// Nanoseconds since an unspecified start.
std::int64_t NowNs();
std::int64_t NowNs(platform::Clock& clock);

// Whole milliseconds since `stampNs`, which NowNs gave; truncated, so that anything below a millisecond is 0.
std::int64_t ElapsedMs(std::int64_t stampNs);
std::int64_t ElapsedMs(std::int64_t stampNs, platform::Clock& clock);

// Whole milliseconds since the start that NowNs counts from; truncated.
std::int64_t NowMs();
std::int64_t NowMs(platform::Clock& clock);

}  // namespace infra
