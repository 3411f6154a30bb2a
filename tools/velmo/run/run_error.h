#pragma once

#include <stdexcept>

namespace velmo_run {

// A run can't begin or can't go on; the text says why, for a person.
class RunError : public std::runtime_error {
 public:
    using std::runtime_error::runtime_error;
};

// What is asked for can't be, whatever files there are.
class UsageError : public RunError {
 public:
    using RunError::RunError;
};

}  // namespace velmo_run
