#include "platform/clock.h"

#include <windows.h>

namespace platform {
namespace {

class PerformanceCounter final : public Clock {
 public:
    std::int64_t Counter() override {
        LARGE_INTEGER value{};
        ::QueryPerformanceCounter(&value);
        return value.QuadPart;
    }

    std::int64_t Frequency() override {
        LARGE_INTEGER value{};
        ::QueryPerformanceFrequency(&value);
        return value.QuadPart;
    }

    std::chrono::system_clock::time_point SystemNow() override { return std::chrono::system_clock::now(); }
};

}  // namespace

Clock& SystemClock() {
    static PerformanceCounter& clock =
        *new PerformanceCounter;  // never destroyed: destructors of globals may still come here
    return clock;
}

}  // namespace platform
