#include "infra/timer_waits.h"

namespace infra {
namespace {

using namespace std::chrono_literals;

// The system's waits end on its clock tick, up to a tick (15.6 ms on Windows) before the deadline, and the condition
// variable then reports a wake-up. Taken as one it would cost the timer a whole period.
constexpr auto kEarliestTimeOut = 20ms;

class ConditionWaits final : public TimerWaits {
 public:
    std::errc WaitUntil(std::condition_variable_any& condition, std::unique_lock<CheckedMutex>& lock,
                        std::chrono::system_clock::time_point deadline) override {
        if (!lock.owns_lock()) {
            return std::errc::operation_not_permitted;
        }
        while (condition.wait_until(lock, deadline) != std::cv_status::timeout) {
            if (deadline - std::chrono::system_clock::now() > kEarliestTimeOut) {
                return std::errc();
            }
            // Too close to tell one from the other: wait for the rest. A stopped timer loses these few ms.
        }
        return std::errc::timed_out;
    }

    void WakeOne(std::condition_variable_any& condition) override { condition.notify_one(); }
};

}  // namespace

TimerWaits& SystemTimerWaits() {
    static ConditionWaits waits;
    return waits;
}

}  // namespace infra
