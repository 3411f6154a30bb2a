#include <gmock/gmock.h>

#include <csignal>
#include <cstdlib>

#include "run_fixture.h"
#include "velmo_run/interrupt.h"

namespace run_process_tests {
namespace {

using testing::HasSubstr;
using testing::SizeIs;

class RunIsRobbed : public VideoRunTest {
 protected:
    // Of the process, as the run has told it.
    pid_t ProcessId() const {
        const std::string text = m_talk.Text();
        const std::size_t at = text.find("process ");
        return at == std::string::npos ? 0 : static_cast<pid_t>(std::atol(text.c_str() + at + 8));
    }
};

TEST_F(RunIsRobbed, OfItsProcessTellsItAndKeepsWhatWasWritten) {
    m_options.masks = At("masks.y4m");
    m_options.json = At("run.json");
    EXPECT_EQ(RunFeed([this](std::uint64_t frame) {
                  if (frame == 15) {
                      EXPECT_GT(ProcessId(), 0);
                      EXPECT_EQ(::kill(ProcessId(), SIGKILL), 0);
                  }
                  return Still(frame);
              }),
              1);
    EXPECT_THAT(m_talk.Text(), HasSubstr("the process ended with signal 9"));
    EXPECT_THAT(m_talk.Text(), HasSubstr("its last words:"));
    EXPECT_THAT(m_talk.Text(), HasSubstr("what was written until then is kept"));
    EXPECT_EQ(JsonAt("run.json").at("state"), "failed");
    EXPECT_THAT(FramesAt("masks.y4m"), SizeIs(JsonAt("run.json").at("frames").at("written").get<std::size_t>()));
}

// A terminal tells every program that runs on it of Ctrl-C, the process too.
TEST_F(RunIsRobbed, NotByACtrlCThatTheProcessHearsAsWell) {
    const velmo_run::InterruptWatch watch;
    EXPECT_EQ(RunFrames(20,
                        [this](std::uint64_t frame) {
                            if (frame == 5) {
                                EXPECT_EQ(::kill(ProcessId(), SIGINT), 0);
                            }
                            return Still(frame);
                        }),
              0)
        << m_talk.Text();
}

}  // namespace
}  // namespace run_process_tests
