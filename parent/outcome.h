#pragma once

#include <string>
#include <utility>

namespace velmo_parent {

// Whether something went well, and if not, why, in words for a person. Thread: a plain value.
class Outcome {
 public:
    static Outcome Success() { return Outcome(); }
    static Outcome Failure(std::string why) {
        Outcome outcome;
        outcome.m_why = why.empty() ? "unknown reason" : std::move(why);
        return outcome;
    }

    explicit operator bool() const { return m_why.empty(); }

    // The reason; "" when it went well.
    const std::string& Why() const { return m_why; }

 private:
    Outcome() = default;

    std::string m_why;
};

}  // namespace velmo_parent
