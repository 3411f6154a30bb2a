#include <gtest/gtest.h>

#include "swapping_stream.h"

namespace parent_process_tests {
namespace {

TEST_F(SwappingStream, LosesAndReordersNoFrameInTwentySeconds) {
    Run(std::chrono::seconds(20));
}

}  // namespace
}  // namespace parent_process_tests
