#pragma once

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

// What `action` throws; "" and a failed test when it throws no runtime error.
template <typename Action>
std::string ThrownBy(const Action& action) {
    try {
        (void)action();
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    ADD_FAILURE() << "nothing was thrown";
    return {};
}
