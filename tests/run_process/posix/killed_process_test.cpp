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
    // To the process, whose number the run has told.
    void Send(int signal) const {
        const std::string text = m_talk.Text();
        const std::size_t at = text.find("process ");
        ASSERT_NE(at, std::string::npos);
        const auto id = static_cast<pid_t>(std::atol(text.c_str() + at + 8));
        ASSERT_GT(id, 0) << "which would mean this program's whole group";
        EXPECT_EQ(::kill(id, signal), 0);
    }
};

TEST_F(RunIsRobbed, OfItsProcessTellsItAndKeepsWhatWasWritten) {
    m_options.masks = At("masks.y4m");
    m_options.json = At("run.json");
    EXPECT_EQ(RunFeed([this](std::uint64_t frame) {
                  if (frame == 15) Send(SIGKILL);
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
                            if (frame == 5) Send(SIGINT);
                            return Still(frame);
                        }),
              0)
        << m_talk.Text();
}

}  // namespace
}  // namespace run_process_tests
