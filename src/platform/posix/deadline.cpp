#include "platform/posix/deadline.h"

#include "platform/kernel_objects.h"

namespace platform::posix {
namespace {

constexpr long kNsPerSecond = 1000000000;

timespec Now() {
    timespec now{};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return now;
}

}  // namespace

Deadline::Deadline(std::uint32_t timeoutMs) {
    if (timeoutMs == kNoTimeLimit) return;
    timespec moment = Now();
    moment.tv_sec += static_cast<time_t>(timeoutMs / 1000);
    moment.tv_nsec += static_cast<long>(timeoutMs % 1000) * 1000000;
    if (moment.tv_nsec >= kNsPerSecond) {
        moment.tv_nsec -= kNsPerSecond;
        ++moment.tv_sec;
    }
    m_moment = moment;
}

std::optional<timespec> Deadline::Remaining() const {
    if (!m_moment) return std::nullopt;
    const timespec now = Now();
    timespec left{m_moment->tv_sec - now.tv_sec, m_moment->tv_nsec - now.tv_nsec};
    if (left.tv_nsec < 0) {
        left.tv_nsec += kNsPerSecond;
        --left.tv_sec;
    }
    return left.tv_sec < 0 ? timespec{} : left;
}

bool Deadline::HasPassed() const {
    const std::optional<timespec> left = Remaining();
    return left && left->tv_sec == 0 && left->tv_nsec == 0;
}

}  // namespace platform::posix
