#include "infra/timer_waits.h"

namespace infra {
namespace {

class ConditionWaits final : public TimerWaits {
 public:
    std::errc WaitUntil(std::condition_variable_any& condition, std::unique_lock<CheckedMutex>& lock,
                        std::chrono::system_clock::time_point deadline) override {
        if (!lock.owns_lock()) {
            return std::errc::operation_not_permitted;
        }
        return condition.wait_until(lock, deadline) == std::cv_status::timeout ? std::errc::timed_out : std::errc();
    }

    void WakeOne(std::condition_variable_any& condition) override { condition.notify_one(); }
};

}  // namespace

TimerWaits& SystemTimerWaits() {
    static ConditionWaits waits;
    return waits;
}

}  // namespace infra
