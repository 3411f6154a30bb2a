// What the process makes of command lines and messages that no good parent sends.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "ipc/channels.h"
#include "process_fixture.h"
#include "velmo_parent/ipc_id.h"

namespace process_tests {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;

struct Ended {
    std::int32_t code = -1000;  // -1000: it did not end
    std::string output;
    std::string error;
};

// Runs the process with this command line until it ends.
Ended RunToTheEnd(const std::string& commandTail) {
    const ScratchFile output;
    const ScratchFile error;
    std::string why;
    const auto child =
        platform::SystemChildProcesses().Start({ProcessProgram(), commandTail, {}, output.Path(), error.Path()}, why);
    EXPECT_TRUE(child) << why;
    if (!child) return {};
    const auto exit = child->WaitForExit(kPatienceMs);
    if (!exit) child->Kill();
    return {exit ? exit->code : -1000, output.Text(), error.Text()};
}

// Runs the process with `commandTail`, terminates it over the link `id`, and returns its exit code.
std::int32_t RunAndTerminate(const std::string& commandTail, const std::string& id) {
    Recorder recorder;
    velmo_parent::Link link(id, recorder);
    const velmo_parent::Outcome opened = link.Open();
    EXPECT_TRUE(opened) << opened.Why();
    (void)link.Terminate();  // waits in the channel for a process that reads it
    const Ended ended = RunToTheEnd(commandTail);
    EXPECT_TRUE(recorder.AwaitLine("RvoCalyrMlHost::Terminate()"));
    return ended.code;
}

// One test and not three: all of them use the same objects.
TEST(CommandLine, OfNothingOrBlanksNamesTheObjectsByTheirSuffixes) {
    EXPECT_EQ(RunAndTerminate("", ""), 0);
    EXPECT_EQ(RunAndTerminate(" \t ", ""), 0);
    EXPECT_EQ(RunAndTerminate(std::string(32'000, ' '), ""), 0);
}

TEST(CommandLine, LosesWhiteSpaceAtBothEnds) {
    const std::string id = FreshId();
    EXPECT_EQ(RunAndTerminate("  \t" + id + "\r\n ", id), 0);
}

TEST(CommandLine, KeepsWhatIsInside) {
    const std::string id = FreshId(" \"a  b\" %c");
    EXPECT_EQ(RunAndTerminate(id, id), 0);
}

TEST(CommandLine, OfThirtyTwoThousandCharactersEndsWithThree) {
    const std::string id(32'000, 'x');
    const Ended ended = RunToTheEnd(id);
    EXPECT_EQ(ended.code, 3);
    EXPECT_THAT(ended.output, HasSubstr("[RVO_CALYR] InitIpc() fail, ipcId=xxxx"));
}

TEST(CommandLine, OfBytesThatNoTextHasEndsInADefinedWay) {
    const std::string id = FreshId("\x81\x8D\xFE\xFF");
    if (velmo_parent::CheckId(id)) {
        EXPECT_EQ(RunAndTerminate(id, id), 0);
    } else {
        // Not in the code page: the names are made of what it puts in their place, and no parent knows those.
        const std::int32_t code = RunToTheEnd(id).code;
        EXPECT_TRUE(code == -1 || code == 3) << code;
    }
}

// Puts something in the way of each channel in turn.
class BlockedChannel : public ::testing::TestWithParam<const char*> {};

TEST_P(BlockedChannel, EndsTheProcessWithThreeAndALine) {
    const std::string id = FreshId();
    // A mapping where an event should be: both kinds share one space of names.
    const auto block = platform::SystemKernelObjects().CreateMapping(id + GetParam() + "_evt_avl", 4096);
    ASSERT_TRUE(block);

    const Ended ended = RunToTheEnd(id);

    EXPECT_EQ(ended.code, 3);
    std::string output = ended.output;
    std::erase(output, '\r');
    EXPECT_THAT(output, EndsWith("[RVO_CALYR] InitIpc() fail, ipcId=" + id + "\n"));
}

class TooSmallChannel : public ::testing::TestWithParam<const char*> {};

TEST_P(TooSmallChannel, EndsTheProcessWithThree) {
    const std::string id = FreshId();
    const auto block = platform::SystemKernelObjects().CreateMapping(id + GetParam() + "_shm", 4096);
    ASSERT_TRUE(block);
    EXPECT_EQ(RunToTheEnd(id).code, 3);
}

INSTANTIATE_TEST_SUITE_P(EveryChannel, BlockedChannel, ::testing::Values("C", "FI", "E", "FO", "L"),
                         [](const auto& tested) { return std::string(tested.param); });

// Not "E": its 1048 bytes fit the smallest mapping there is.
INSTANTIATE_TEST_SUITE_P(AllButEvents, TooSmallChannel, ::testing::Values("C", "FI", "FO", "L"),
                         [](const auto& tested) { return std::string(tested.param); });

class BadSlot : public ::testing::Test {
 protected:
    template <class Channel>
    Ended RunWithASlotThatHoldsNothing(const char* suffix) {
        const std::string id = FreshId();
        Channel channel(ipc::kSends);
        EXPECT_TRUE(channel.Open(id + suffix));
        EXPECT_TRUE(channel.Send([](auto& slot) { slot.index = calyr_ipc::kNoAlternative; }, false, 0));
        return RunToTheEnd(id);
    }
};

TEST_F(BadSlot, EndsTheProcessWhenItIsACommand) {
    const Ended ended = RunWithASlotThatHoldsNothing<calyr_ipc::CommandChannel>(calyr_ipc::kCommandSuffix);
    EXPECT_EQ(ended.code, 70);
    EXPECT_THAT(ended.error, HasSubstr("velmoml ends: uncaught exception: "));
}

TEST_F(BadSlot, EndsTheProcessWhenItIsAFrame) {
    const Ended ended = RunWithASlotThatHoldsNothing<calyr_ipc::InputChannel>(calyr_ipc::kInputSuffix);
    EXPECT_EQ(ended.code, 70);
    EXPECT_THAT(ended.error, HasSubstr("velmoml ends: uncaught exception: "));
}

}  // namespace
}  // namespace process_tests
