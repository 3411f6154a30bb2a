// The long run, by hand: see the docs of the parent's library.

#include <gtest/gtest.h>

#include "swapping_stream.h"

namespace parent_process_tests {
namespace {

TEST_F(SwappingStream, LosesAndReordersNoFrameInFiveMinutes) {
    Run(std::chrono::minutes(5));
}

}  // namespace
}  // namespace parent_process_tests
