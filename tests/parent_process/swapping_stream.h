#pragma once

#include <chrono>

#include "parent_fixture.h"

namespace parent_process_tests {

// Frames at 30 a second for so long, with another engine asked for every two seconds: each frame has to come back, in
// order and with its own mask.
class SwappingStream : public ParentProcess {
 protected:
    void Run(std::chrono::seconds duration);
};

}  // namespace parent_process_tests
