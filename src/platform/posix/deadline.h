#pragma once

#include <ctime>

#include <cstdint>
#include <optional>

namespace platform::posix {

// A moment on the monotonic clock by which a wait has to end, or none. An interrupted wait goes on towards the same
// moment, so interruptions do not stretch it.
class Deadline {
 public:
    // timeoutMs from now; kNoTimeLimit means never.
    explicit Deadline(std::uint32_t timeoutMs);

    // The moment itself, null when there is none.
    const timespec* Moment() const { return m_moment ? &*m_moment : nullptr; }

    bool HasPassed() const;

    // What is left of the time, not below zero; nothing when there is no limit.
    std::optional<timespec> Remaining() const;

 private:
    std::optional<timespec> m_moment;
};

}  // namespace platform::posix
