#include "platform/clock.h"

#include <ctime>

namespace platform {
namespace {

class MonotonicClock final : public Clock {
 public:
    std::int64_t Counter() override {
        timespec now{};
        ::clock_gettime(CLOCK_MONOTONIC, &now);
        return static_cast<std::int64_t>(now.tv_sec) * kTicksPerSecond + now.tv_nsec;
    }

    std::int64_t Frequency() override { return kTicksPerSecond; }

    std::chrono::system_clock::time_point SystemNow() override { return std::chrono::system_clock::now(); }

 private:
    static constexpr std::int64_t kTicksPerSecond = 1000000000;
};

}  // namespace

Clock& SystemClock() {
    static MonotonicClock& clock = *new MonotonicClock;  // never destroyed: destructors of globals may still come here
    return clock;
}

}  // namespace platform
