#pragma once

#include <cstdint>

#include "ipc/channel.h"

namespace process_tests {

// A message that shows whether it is whole and which one it is.
struct NumberedMessage {
    std::uint32_t number;   // from 1
    std::uint32_t inverse;  // ~number
};

// As few slots as the frame channels have: a few lost nodes would stop it.
inline constexpr std::int32_t kNumberedSlots = 5;
using NumberedChannel = ipc::channel<NumberedMessage, kNumberedSlots>;

}  // namespace process_tests
