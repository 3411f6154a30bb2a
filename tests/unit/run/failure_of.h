#pragma once

#include <string>

#include "velmo_media/media_error.h"

namespace run_tests {

// What is said when the action fails.
template <class Action>
std::string FailureOf(Action action) {
    try {
        action();
    } catch (const velmo_media::MediaError& error) {
        return error.what();
    }
    return "it worked";
}

}  // namespace run_tests
