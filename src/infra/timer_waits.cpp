#include "infra/timer_waits.h"

namespace infra {
namespace {

class ConditionWaits final : public TimerWaits {
 public:
    std::errc WaitUntil(platform::Condition& condition, std::unique_lock<CheckedMutex>& lock,
                        std::chrono::system_clock::time_point deadline) override {
        return lock.owns_lock() ? condition.WaitUntil(lock, deadline) : std::errc::operation_not_permitted;
    }

    void WakeOne(platform::Condition& condition) override { condition.WakeOne(); }
};

}  // namespace

TimerWaits& SystemTimerWaits() {
    static ConditionWaits& waits = *new ConditionWaits;  // never destroyed: a timer may still run at exit
    return waits;
}

}  // namespace infra
