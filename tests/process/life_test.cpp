// The real process from its start to its end, with the library that parents use on the other side.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <string>
#include <thread>

#include "platform/threads.h"
#include "process_fixture.h"
#include "velmo_parent/receive_end.h"
#include "velmo_parent/send_end.h"

namespace process_tests {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using velmo_parent::HeartBeats;
using Clock = std::chrono::steady_clock;

std::int64_t MsSince(Clock::time_point start) {
    return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count();
}

// A process and its link. A process that a failed test leaves behind is killed.
class Process : public ::testing::Test {
 protected:
    explicit Process(std::string id = FreshId()) : m_link(std::move(id), m_recorder) {}
    ~Process() override { m_link.Kill(); }

    void Open() {
        const velmo_parent::Outcome opened = m_link.Open();
        ASSERT_TRUE(opened) << opened.Why();
    }

    void Start() {
        const velmo_parent::Outcome started = m_link.StartProcess({ProcessProgram()});
        ASSERT_TRUE(started) << started.Why();
    }

    void OpenAndStart() {
        ASSERT_NO_FATAL_FAILURE(Open());
        ASSERT_NO_FATAL_FAILURE(Start());
    }

    // The exit code, or -1000 when the process did not end.
    std::int32_t ExitCode(std::uint32_t timeoutMs = kPatienceMs) {
        const auto exit = m_link.WaitForExit(timeoutMs);
        return exit ? exit->code : -1000;
    }

    Recorder m_recorder;
    velmo_parent::Link m_link;
};

TEST_F(Process, EndsWithZeroWhenItIsTerminated) {
    OpenAndStart();
    ASSERT_TRUE(m_recorder.AwaitLine("RvoCalyrMlHost::Start(), success"));

    EXPECT_EQ(m_link.Terminate(), velmo_parent::SendResult::Sent);

    EXPECT_EQ(ExitCode(), 0);
    const std::vector<velmo_parent::LogLine> lines = m_recorder.Lines();
    ASSERT_EQ(lines.size(), 3U);
    const std::string pid = std::to_string(m_link.ProcessId());
    const std::string thisPart = lines[1].text.substr(lines[1].text.find(" [this="));
    EXPECT_EQ(lines[0].text, "[RVO_CALYR]RvoCalyrMlHost::Start(), success, pid=" + pid + thisPart);
    EXPECT_EQ(lines[1].text, "[RVO_CALYR]RvoCalyrMlHost::Terminate()" + thisPart);
    EXPECT_EQ(lines[2].text, "[RVO_CALYR]RvoCalyrMlHost::Start(), exit normally, pid=" + pid + thisPart);
    const std::string digits = thisPart.substr(0, thisPart.size() - 1).substr(std::string(" [this=0x").size());
    EXPECT_EQ(thisPart, " [this=0x" + digits + "]");
    EXPECT_FALSE(digits.empty());
    EXPECT_EQ(digits.find_first_not_of("0123456789abcdef"), std::string::npos);
    for (const velmo_parent::LogLine& line : lines) {
        EXPECT_EQ(line.level, 2U);
        EXPECT_EQ(line.processId, m_link.ProcessId());
        EXPECT_EQ(line.threadId, lines[0].threadId);
    }
    EXPECT_THAT(m_recorder.Damages(), IsEmpty());
}

TEST_F(Process, FindsWhatWasQueuedBeforeItStarted) {
    Open();
    (void)m_link.Init({});
    (void)m_link.Terminate();

    Start();

    EXPECT_EQ(ExitCode(), 0);
    const auto inits = m_recorder.Inits();
    ASSERT_EQ(inits.size(), 1U);
    EXPECT_EQ(inits[0].processId, m_link.ProcessId());
}

TEST_F(Process, WaitsWithWhatItHasToSayForAParentThatAttachesLater) {
    std::string error;
    const auto child = platform::SystemChildProcesses().Start({ProcessProgram(), m_link.Id(), {}, "", ""}, error);
    ASSERT_TRUE(child) << error;
    ASSERT_TRUE(AwaitMapping(m_link.Id() + "L_shm"));

    Open();

    EXPECT_TRUE(m_recorder.AwaitLine("RvoCalyrMlHost::Start(), success, pid=" + std::to_string(child->Id())));
    (void)m_link.Terminate();
    const auto exit = child->WaitForExit(kPatienceMs);
    if (!exit) child->Kill();
    ASSERT_TRUE(exit);
    EXPECT_EQ(exit->code, 0);
}

TEST_F(Process, GoesOnAfterFini) {
    OpenAndStart();
    ASSERT_TRUE(m_recorder.AwaitHeartBeats(1));
    (void)m_link.Fini();
    ASSERT_TRUE(m_recorder.AwaitLine("[RVO_CALYR]RvoCalyrMlHost::Fini() [this="));
    EXPECT_TRUE(m_recorder.AwaitHeartBeats(m_recorder.HeartBeats() + 2));
    (void)m_link.Terminate();
    EXPECT_EQ(ExitCode(), 0);
}

TEST_F(Process, LosesNoCommandAndNoLogLine) {
    OpenAndStart();
    constexpr int kCommands = 2000;
    for (int sent = 0; sent < kCommands;) {
        const velmo_parent::SendResult result = m_link.Fini();
        ASSERT_NE(result, velmo_parent::SendResult::Closed);
        if (result == velmo_parent::SendResult::Sent) {
            ++sent;
        } else {
            std::this_thread::yield();
        }
    }
    while (m_link.Terminate() == velmo_parent::SendResult::Full)
        std::this_thread::yield();
    EXPECT_EQ(ExitCode(), 0);
    const auto lines = m_recorder.Lines();
    EXPECT_EQ(
        std::ranges::count_if(lines, [](const auto& line) { return line.text.find("Fini()") != std::string::npos; }),
        kCommands);
}

TEST_F(Process, AnswersEachInit) {
    OpenAndStart();
    (void)m_link.Init({.modelType = 7});
    (void)m_link.Init({.modelType = -1});
    ASSERT_TRUE(m_recorder.AwaitInits(2));
    (void)m_link.Terminate();
    EXPECT_EQ(ExitCode(), 0);
    for (const auto& init : m_recorder.Inits()) {
        EXPECT_EQ(init.processId, m_link.ProcessId());
        EXPECT_EQ(init.result, 2);
    }
    EXPECT_TRUE(m_recorder.AwaitLine("[RVO_CALYR]RvoCalyrMlHost::Init() fail, error model type, option.modelType=7 ["));
    EXPECT_TRUE(m_recorder.AwaitLine("option.modelType=-1 ["));
    EXPECT_TRUE(m_recorder.AwaitLine("[RVO_CALYR]RvoCalyrMlHost::Init() ret=2 [this=", 2));
}

TEST(TwoLinks, KeepApartWhenOneIdBeginsWithTheOther) {
    // "…F" and the input channel's "FI" meet in names such as "…FIC_shm".
    const std::string id = FreshId();
    Recorder first;
    Recorder second;
    velmo_parent::Link shortLink(id, first);
    velmo_parent::Link longLink(id + "FI", second);
    for (velmo_parent::Link* link : {&shortLink, &longLink}) {
        ASSERT_TRUE(link->Open());
        ASSERT_TRUE(link->StartProcess({ProcessProgram()}));
    }
    ASSERT_TRUE(first.AwaitHeartBeats(1));
    ASSERT_TRUE(second.AwaitHeartBeats(1));

    (void)shortLink.Terminate();
    const auto exit = shortLink.WaitForExit(kPatienceMs);
    ASSERT_TRUE(exit);
    EXPECT_EQ(exit->code, 0);
    EXPECT_TRUE(second.AwaitHeartBeats(second.HeartBeats() + 1));
    for (const auto& line : second.Lines())
        EXPECT_EQ(line.processId, longLink.ProcessId());
    (void)longLink.Terminate();
    EXPECT_TRUE(longLink.WaitForExit(kPatienceMs));
}

class HeartBeat : public Process {};

TEST_F(HeartBeat, EndsTheProcessWithMinusOneAfterSixThatNobodyAnswers) {
    m_link.SetHeartBeats(HeartBeats::LeftToCaller);
    Open();
    const Clock::time_point start = Clock::now();
    Start();

    EXPECT_EQ(ExitCode(), -1);

    // Seven periods of a second, and at most one more until the command loop looks; the rest is the machine's.
    EXPECT_GE(MsSince(start), 7000);
    EXPECT_LE(MsSince(start), 20'000);
    EXPECT_EQ(m_recorder.HeartBeats(), 6);
    const auto lines = m_recorder.Lines();
    ASSERT_GE(lines.size(), 3U);
    EXPECT_THAT(lines[1].text,
                HasSubstr("[RVO_CALYR]RvoCalyrMlHost::OnTimer() heart beat timeout, will terminate process [this=0x"));
    EXPECT_THAT(lines.back().text, HasSubstr("RvoCalyrMlHost::Start(), exit normally"));
}

TEST_F(HeartBeat, KeepsTheProcessWhileItIsAnswered) {
    OpenAndStart();
    EXPECT_TRUE(m_recorder.AwaitHeartBeats(9));  // three more than it would live without
    (void)m_link.Terminate();
    EXPECT_EQ(ExitCode(), 0);
}

TEST_F(HeartBeat, CountsAnewFromTheLastAnswer) {
    m_link.SetHeartBeats(HeartBeats::LeftToCaller);
    OpenAndStart();
    ASSERT_TRUE(m_recorder.AwaitHeartBeats(3));  // so that a slow machine has some left for what follows
    // A heartbeat is counted behind its sending, under the lock that an Init waits for: with the Init's answer all that
    // were seen before are counted, and the acknowledgement clears them.
    const int before = m_recorder.HeartBeats();
    (void)m_link.Init({.modelType = 7});
    ASSERT_TRUE(m_recorder.AwaitInits(1));

    (void)m_link.AcknowledgeHeartBeats();

    // Commands are taken in their order, and their answers come behind the heartbeats that were sent before.
    (void)m_link.Init({.modelType = 7});
    ASSERT_TRUE(m_recorder.AwaitInits(2));
    const int behind = m_recorder.HeartBeats();
    EXPECT_EQ(ExitCode(), -1);
    EXPECT_GE(m_recorder.HeartBeats(), before + 6);
    EXPECT_LE(m_recorder.HeartBeats(), behind + 6);
}

TEST(HeartBeatAlone, EndsAProcessThatNobodyEverAttachedTo) {
    std::string error;
    const auto child = platform::SystemChildProcesses().Start({ProcessProgram(), FreshId(), {}, "", ""}, error);
    ASSERT_TRUE(child) << error;
    const auto exit = child->WaitForExit(kPatienceMs);
    if (!exit) child->Kill();
    ASSERT_TRUE(exit);
    EXPECT_EQ(exit->code, -1);
}

TEST(HeartBeatAlone, AFullLogThatNobodyReadsKeepsTheProcessUntilSomebodyDoes) {
    const std::string id = FreshId();
    velmo_parent::SendEnd<calyr_ipc::CommandSlot, 32> commands(platform::SystemKernelObjects(),
                                                               platform::SystemThreads());
    ASSERT_TRUE(commands.Open(id + "C"));
    for (int i = 0; i < 31; ++i) {
        ASSERT_EQ(commands.Send([](calyr_ipc::CommandSlot& slot) { slot.index = 1; }), velmo_parent::SendResult::Sent);
    }
    std::string error;
    const auto child = platform::SystemChildProcesses().Start({ProcessProgram(), id, {}, "", ""}, error);
    ASSERT_TRUE(child) << error;

    // One line at the start and one per command fill the 30 slots; the watchdog's own line waits behind them.
    EXPECT_FALSE(child->WaitForExit(10'000));

    velmo_parent::ReceiveEnd<calyr_ipc::IpcLogChunk, 30> log(platform::SystemKernelObjects(),
                                                             platform::SystemThreads());
    ASSERT_TRUE(log.Open(id + "L", [](const calyr_ipc::IpcLogChunk&) {}));
    const auto exit = child->WaitForExit(kPatienceMs);
    if (!exit) child->Kill();
    ASSERT_TRUE(exit);
    EXPECT_EQ(exit->code, -1);
}

class DeadPair : public ::testing::Test {
 protected:
    std::unique_ptr<platform::ChildProcess> StartProgram(const std::string& program, const std::string& tail) {
        std::string error;
        auto child = platform::SystemChildProcesses().Start({program, tail, {}, "", ""}, error);
        EXPECT_TRUE(child) << error;
        return child;
    }
};

TEST_F(DeadPair, LeavesNothingThatTheNextOneWouldMeet) {
    const std::string id = FreshId();
    const auto step = platform::SystemKernelObjects().CreateOrOpenEvent(id + "_step");
    const auto gone = platform::SystemKernelObjects().CreateOrOpenEvent(id + "_gone");
    ASSERT_TRUE(step && gone);
    const auto parent = StartProgram(ProgramFolder() + PROCESS_TESTS_PROGRAM, "role hold " + id);
    ASSERT_TRUE(parent);
    ASSERT_EQ(step->Wait(kPatienceMs), platform::WaitResult::Signalled) << "the parent's link is open";
    const auto process = StartProgram(ProcessProgram(), id);
    ASSERT_TRUE(process);
    ASSERT_EQ(step->Wait(kPatienceMs), platform::WaitResult::Signalled) << "the process has come to it";
    process->Kill();
    ASSERT_TRUE(process->WaitForExit(kPatienceMs));
    ASSERT_TRUE(gone->Set());
    ASSERT_EQ(step->Wait(kPatienceMs), platform::WaitResult::Signalled) << "commands are left behind";
    parent->Kill();
    ASSERT_TRUE(parent->WaitForExit(kPatienceMs));

    Recorder recorder;
    velmo_parent::Link link(id, recorder);
    ASSERT_TRUE(link.Open());
    ASSERT_TRUE(link.StartProcess({ProcessProgram()}));
    ASSERT_TRUE(recorder.AwaitHeartBeats(1));
    (void)link.Terminate();
    const auto exit = link.WaitForExit(kPatienceMs);

    ASSERT_TRUE(exit);
    EXPECT_EQ(exit->code, 0);
    EXPECT_EQ(recorder.Lines().size(), 3U);  // its own start and end, and nothing of the three queued commands
    for (const auto& line : recorder.Lines())
        EXPECT_EQ(line.processId, link.ProcessId());
    EXPECT_THAT(recorder.Damages(), IsEmpty());
}

}  // namespace
}  // namespace process_tests
