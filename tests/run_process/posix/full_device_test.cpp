#include <gmock/gmock.h>

#include "run_fixture.h"

namespace run_process_tests {
namespace {

using testing::HasSubstr;

// The device that is always full.
using RunFillsADevice = VideoRunTest;

TEST_F(RunFillsADevice, WithItsFramesAndSaysSo) {
    m_options.output = "/dev/full";
    m_options.csv = At("rows.csv");
    EXPECT_EQ(RunFrames(100, Still), 1);
    EXPECT_THAT(m_talk.Text(), HasSubstr("can't write /dev/full: No space left on device"));
}

TEST_F(RunFillsADevice, WithItsNumbersAndSaysSo) {
    m_options.json = "/dev/full";
    EXPECT_EQ(RunFrames(1, Still), 1);
    EXPECT_THAT(m_talk.Text(), HasSubstr("velmo: can't write /dev/full: No space left on device\n"));
}

}  // namespace
}  // namespace run_process_tests
