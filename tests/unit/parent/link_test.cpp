#include "velmo_parent/link.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <condition_variable>
#include <cstring>
#include <mutex>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "ipc/channels.h"
#include "platform/threads.h"
#include "process_side.h"
#include "support/recording_streams.h"
#include "support/watchdog.h"
#include "velmo_tool/inspect.h"

namespace velmo_parent {
namespace {

using calyr_ipc::CommandSlot;
using calyr_ipc::EventSlot;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// Keeps what the process said, each as a line of text.
class RecordingListener : public LinkListener {
 public:
    void OnHeartBeat() override { Keep("heartbeat"); }
    void OnInit(std::uint32_t processId, std::int32_t result) override {
        Keep("init " + std::to_string(processId) + " " + std::to_string(result));
    }
    void OnFrameResult(const calyr_ipc::OutputSlot& slot) override {
        Keep("result " + std::to_string(slot.As<calyr_ipc::RvoInhouseIpcOutput>().status));
    }
    void OnLogLine(const LogLine& line) override {
        Keep("log " + std::to_string(line.level) + " " + std::to_string(line.processId) + " " +
             std::to_string(line.threadId) + " " + line.text);
    }
    void OnDamage(const std::string& what) override { Keep("damage " + what); }

    std::vector<std::string> Heard() const {
        const std::lock_guard lock(m_mutex);
        return m_heard;
    }

 private:
    void Keep(std::string what) {
        const std::lock_guard lock(m_mutex);
        m_heard.push_back(std::move(what));
    }

    mutable std::mutex m_mutex;
    std::vector<std::string> m_heard;
};

class LinkTest : public ProcessSide {
 protected:
    RecordingListener m_listener;
    Link m_link{"id", m_listener, HeartBeats::AnsweredByLink, m_seams};
};

TEST_F(LinkTest, MakesTheChannelsWhenItComesFirst) {
    ASSERT_TRUE(m_link.Open());
    OpenProcessSide();
    ASSERT_TRUE(SendHeartBeat());
    m_link.Drain();
    EXPECT_THAT(m_listener.Heard(), ElementsAre("heartbeat"));
    EXPECT_THAT(m_streams.Output(), IsEmpty());  // the process found every mapping
}

TEST_F(LinkTest, AttachesToTheChannelsWhenTheProcessComesFirst) {
    OpenProcessSide();
    ASSERT_TRUE(SendHeartBeat());
    ASSERT_TRUE(m_link.Open());
    m_link.Drain();
    EXPECT_THAT(m_listener.Heard(), ElementsAre("heartbeat"));
}

TEST_F(LinkTest, AnswersHeartBeats) {
    ASSERT_TRUE(m_link.Open());
    OpenProcessSide();
    for (int i = 0; i < 100; ++i) {
        ASSERT_TRUE(SendHeartBeat());
        ASSERT_EQ(NextCommand(), 3);
    }
}

TEST_F(LinkTest, LeavesHeartBeatsToTheCallerWhenToldSo) {
    ASSERT_TRUE(m_link.Open());
    OpenProcessSide();
    m_link.SetHeartBeats(HeartBeats::LeftToCaller);
    ASSERT_TRUE(SendHeartBeat());
    m_link.Drain();
    EXPECT_THAT(m_listener.Heard(), ElementsAre("heartbeat"));
    EXPECT_EQ(NextCommand(0), -1);
    EXPECT_EQ(m_link.AcknowledgeHeartBeats(), SendResult::Sent);
    EXPECT_EQ(NextCommand(), 3);
}

TEST_F(LinkTest, TellsOfAnInitAnswer) {
    ASSERT_TRUE(m_link.Open());
    OpenProcessSide();
    ASSERT_TRUE(SendEvent([](EventSlot& slot) {
        slot.As<calyr_ipc::IpcEventOnInit>() = {{1, 0}, 77, -2};
        slot.index = 0;
    }));
    m_link.Drain();
    EXPECT_THAT(m_listener.Heard(), ElementsAre("init 77 -2"));
}

TEST_F(LinkTest, TellsOfAnEventThatCanNotBe) {
    ASSERT_TRUE(m_link.Open());
    OpenProcessSide();
    ASSERT_TRUE(SendEvent([](EventSlot& slot) { slot.index = -1; }));
    ASSERT_TRUE(SendEvent([](EventSlot& slot) { slot.index = 2; }));
    m_link.Drain();
    EXPECT_THAT(m_listener.Heard(), ElementsAre("damage an event with index -1", "damage an event with index 2"));
}

TEST_F(LinkTest, HandsOverLogLines) {
    ASSERT_TRUE(m_link.Open());
    OpenProcessSide();
    std::vector<std::string> expected;
    for (int i = 0; i < 200; ++i) {
        ASSERT_TRUE(Log("[17:18] line " + std::to_string(i)));
        expected.push_back("log 2 17 18 line " + std::to_string(i));
    }
    m_link.Drain();
    EXPECT_EQ(m_listener.Heard(), expected);
}

TEST_F(LinkTest, TellsOfADamagedLogChunkAndGoesOn) {
    ASSERT_TRUE(m_link.Open());
    OpenProcessSide();
    ASSERT_TRUE(m_logs.Send([](calyr_ipc::IpcLogChunk& chunk) { chunk.length = 504; }, false, kPatienceMs));
    ASSERT_TRUE(Log("[1:2] next"));
    m_link.Drain();
    EXPECT_THAT(m_listener.Heard(), ElementsAre("damage a log chunk of 504 bytes", "log 2 1 2 next"));
}

TEST_F(LinkTest, HandsOverResultsInPlace) {
    ASSERT_TRUE(m_link.Open());
    OpenProcessSide();
    for (std::int32_t status = 0; status < 20; ++status) {
        ASSERT_TRUE(m_results.Send(
            [&](calyr_ipc::OutputSlot& slot) {
                slot.As<calyr_ipc::RvoInhouseIpcOutput>().status = status;
                slot.index = 0;
            },
            false, kPatienceMs));
    }
    m_link.Drain();
    EXPECT_EQ(m_listener.Heard().size(), 20U);
    EXPECT_EQ(m_listener.Heard().back(), "result 19");
}

TEST_F(LinkTest, SendsInitWithAllOfItsFields) {
    ASSERT_TRUE(m_link.Open());
    OpenProcessSide();
    const std::string longest(1023, 'p');
    ASSERT_EQ(m_link.Init({2, 1, -7, longest, "engine", ""}), SendResult::Sent);
    bool seen = false;
    m_commands.Receive(
        [&](const CommandSlot& slot) {
            seen = true;
            const auto& record = slot.As<calyr_ipc::IpcCommandInit>();
            EXPECT_EQ(slot.index, 0);
            EXPECT_EQ(record.deviceType, 2);
            EXPECT_EQ(record.modelQuality, 1);
            EXPECT_EQ(record.modelType, -7);
            EXPECT_EQ(record.modelPath, longest);
            EXPECT_STREQ(record.enginePath, "engine");
            EXPECT_STREQ(record.gpuCachePath, "");
        },
        kPatienceMs);
    EXPECT_TRUE(seen);
}

TEST_F(LinkTest, RefusesInitWithATextThatDoesNotFit) {
    ASSERT_TRUE(m_link.Open());
    const std::string tooLong(1024, 'p');
    EXPECT_EQ(m_link.Init({0, 0, 0, tooLong, "", ""}), SendResult::Refused);
    EXPECT_EQ(m_link.Init({0, 0, 0, "", tooLong, ""}), SendResult::Refused);
    EXPECT_EQ(m_link.Init({0, 0, 0, "", "", tooLong}), SendResult::Refused);
    EXPECT_EQ(m_link.Init({0, 0, 0, std::string("a\0b", 3), "", ""}), SendResult::Refused);
}

TEST_F(LinkTest, SendsTheOtherCommandsInOrder) {
    ASSERT_TRUE(m_link.Open());
    OpenProcessSide();
    EXPECT_EQ(m_link.Fini(), SendResult::Sent);
    EXPECT_EQ(m_link.AcknowledgeHeartBeats(), SendResult::Sent);
    EXPECT_EQ(m_link.Terminate(), SendResult::Sent);
    EXPECT_EQ(NextCommand(), 1);
    EXPECT_EQ(NextCommand(), 3);
    EXPECT_EQ(NextCommand(), 2);
}

TEST_F(LinkTest, TakesThirtyOneCommandsAheadOfTheProcess) {
    ASSERT_TRUE(m_link.Open());
    for (int i = 0; i < 31; ++i)
        EXPECT_EQ(m_link.Fini(), SendResult::Sent);
    EXPECT_EQ(m_link.Fini(), SendResult::Full);
    OpenProcessSide();
    for (int i = 0; i < 31; ++i)
        ASSERT_EQ(NextCommand(), 1);
    EXPECT_EQ(m_link.Terminate(), SendResult::Sent);
    EXPECT_EQ(NextCommand(), 2);
}

TEST_F(LinkTest, TakesFourFramesAheadOfTheProcess) {
    ASSERT_TRUE(m_link.Open());
    OpenProcessSide();
    std::uint32_t number = 0;
    const auto submit = [&] {
        return m_link.SubmitFrame([&](calyr_ipc::InputSlot& slot) {
            slot.As<calyr_ipc::RvoCalyrIpcInput>().dataSize = number++;
            slot.index = 0;
        });
    };
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(submit(), SendResult::Sent);
    EXPECT_EQ(submit(), SendResult::Full);
    for (std::uint32_t expected = 0; expected < 4; ++expected) {
        std::uint32_t size = 99;
        m_frames.Receive(
            [&](const calyr_ipc::InputSlot& slot) { size = slot.As<calyr_ipc::RvoCalyrIpcInput>().dataSize; },
            kPatienceMs);
        ASSERT_EQ(size, expected);
    }
    EXPECT_EQ(submit(), SendResult::Sent);
}

TEST_F(LinkTest, AnswersClosedUntilItIsOpenAndAfterClose) {
    EXPECT_EQ(m_link.Terminate(), SendResult::Closed);
    EXPECT_EQ(m_link.SubmitFrame(nullptr), SendResult::Closed);
    ASSERT_TRUE(m_link.Open());
    m_link.Close();
    EXPECT_EQ(m_link.Terminate(), SendResult::Closed);
    EXPECT_EQ(m_os.LiveObjects(), 0);
    EXPECT_EQ(m_threads.Joined(), m_threads.Started());
}

TEST_F(LinkTest, IsRefusedASecondOpenAndStaysAsItIs) {
    ASSERT_TRUE(m_link.Open());
    const int objects = m_os.LiveObjects();

    EXPECT_EQ(m_link.Open().Why(), "this link has been opened before");

    EXPECT_EQ(m_os.LiveObjects(), objects);
    EXPECT_EQ(m_link.Terminate(), SendResult::Sent);
    m_link.Close();
    EXPECT_FALSE(m_link.Open());
    EXPECT_EQ(m_os.LiveObjects(), 0);
}

TEST_F(LinkTest, LeavesNothingOpenWhenAChannelCanNotBeHad) {
    for (int spared = 0; spared < 5; ++spared) {
        m_os.FailNext(support::Call::CreateMapping, support::kNotEnoughMemory, spared);
        Link link("id", m_listener, HeartBeats::AnsweredByLink, m_seams);
        EXPECT_THAT(link.Open().Why(), HasSubstr("error 8"));
        EXPECT_EQ(m_os.LiveObjects(), 0);
        EXPECT_EQ(link.Terminate(), SendResult::Closed);
    }
}

TEST_F(LinkTest, OpensAndStartsNothingWithABadId) {
    Link link(" id", m_listener, HeartBeats::AnsweredByLink, m_seams);
    EXPECT_THAT(link.Open().Why(), HasSubstr("white space"));
    EXPECT_THAT(link.StartProcess({"program"}).Why(), HasSubstr("white space"));
    EXPECT_EQ(m_os.LiveObjects(), 0);
    EXPECT_TRUE(m_children.starts.empty());
}

TEST_F(LinkTest, StartsTheProcessWithItsIdAsTheCommandLine) {
    ASSERT_TRUE(m_link.StartProcess({"bin/program", {{"NAME", "value"}}, "out.txt", "err.txt", true}));
    ASSERT_EQ(m_children.starts.size(), 1U);
    EXPECT_EQ(m_children.starts[0].program, "bin/program");
    EXPECT_EQ(m_children.starts[0].commandTail, "id");
    EXPECT_THAT(m_children.starts[0].environment, ElementsAre(std::pair<std::string, std::string>("NAME", "value")));
    EXPECT_EQ(m_children.starts[0].standardOutputPath, "out.txt");
    EXPECT_EQ(m_children.starts[0].standardErrorPath, "err.txt");
    EXPECT_TRUE(m_children.starts[0].outputToError);
    EXPECT_EQ(m_link.ProcessId(), 4711U);
    EXPECT_THAT(m_link.StartProcess({"again"}).Why(), HasSubstr("already"));
}

TEST_F(LinkTest, SaysWhyAProgramCanNotBeStarted) {
    m_children.refusal = "no such file";
    EXPECT_EQ(m_link.StartProcess({"bin/none"}).Why(), "can't start bin/none: no such file");
    EXPECT_EQ(m_link.ProcessId(), 0U);
    m_link.Kill();
    EXPECT_FALSE(m_link.WaitForExit(0).has_value());
}

TEST_F(LinkTest, GivesTheExitCodeAfterTheLastLogLine) {
    ASSERT_TRUE(m_link.Open());
    ASSERT_TRUE(m_link.StartProcess({"program"}));
    OpenProcessSide();
    for (int i = 0; i < 25; ++i)
        ASSERT_TRUE(Log("[1:2] last words"));
    m_children.End({-1, 0});

    const auto exit = m_link.WaitForExit(1234);

    ASSERT_TRUE(exit.has_value());
    EXPECT_EQ(exit->code, -1);
    EXPECT_EQ(m_children.WaitedMs(), 1234U);
    EXPECT_EQ(m_listener.Heard().size(), 25U);
}

TEST_F(LinkTest, GivesNoExitWhenTheTimeRunsOut) {
    ASSERT_TRUE(m_link.Open());
    ASSERT_TRUE(m_link.StartProcess({"program"}));
    EXPECT_FALSE(m_link.WaitForExit(0).has_value());
    m_link.Kill();
    EXPECT_EQ(m_children.Kills(), 1);
}

TEST_F(LinkTest, ClosesWhileTheProcessGoesOn) {
    OpenProcessSide();
    {
        Link link("id", m_listener, HeartBeats::AnsweredByLink, m_seams);
        ASSERT_TRUE(link.Open());
        ASSERT_TRUE(link.StartProcess({"program"}));
        ASSERT_TRUE(SendHeartBeat());
    }
    EXPECT_EQ(m_children.Kills(), 0);
    EXPECT_EQ(m_threads.Joined(), m_threads.Started());
}

TEST_F(LinkTest, NamesTheChannelsThatAreDamaged) {
    ASSERT_TRUE(m_link.Open());
    EXPECT_EQ(m_link.DamagedChannels(), "");
    const std::int32_t wrong = 99;
    std::memcpy(m_os.Memory("idC_shm") + 24, &wrong, sizeof wrong);   // next of node 0
    std::memcpy(m_os.Memory("idFI_shm") + 24, &wrong, sizeof wrong);  // the same
    EXPECT_EQ(m_link.Terminate(), SendResult::Closed);
    EXPECT_EQ(m_link.SubmitFrame(nullptr), SendResult::Closed);
    EXPECT_EQ(m_link.DamagedChannels(), "C FI");
}

// The same over the operating system's own objects, and somebody looks at them meanwhile.
TEST(LinkOverTheSystem, TalksBothWaysAndCanBeInspected) {
    const support::Watchdog watchdog;
    const std::string id = "velmo-link-test-" + std::to_string(platform::CurrentProcessId());
    support::RecordingStreams streams;
    RecordingListener listener;
    Link link(id, listener);
    ASSERT_TRUE(link.Open());
    calyr_ipc::CommandChannel commands(ipc::kReceives, platform::SystemKernelObjects(), streams);
    calyr_ipc::EventChannel events(ipc::kSends, platform::SystemKernelObjects(), streams);
    ASSERT_TRUE(commands.Open(id + "C"));
    ASSERT_TRUE(events.Open(id + "E"));
    EXPECT_THAT(streams.Output(), IsEmpty());

    for (int i = 0; i < 300; ++i) {
        ASSERT_TRUE(events.Send([](EventSlot& slot) { slot.index = 1; }, false, 60000));
        std::int8_t answer = -1;
        commands.Receive([&](const CommandSlot& slot) { answer = slot.index; }, 60000);
        ASSERT_EQ(answer, 3);
    }
    std::ostringstream out;
    std::ostringstream errors;
    EXPECT_EQ(velmo_tool::Inspect(id, platform::SystemKernelObjects(), out, errors), 0) << out.str();
    link.Drain();

    EXPECT_EQ(listener.Heard().size(), 300U);
    EXPECT_THAT(out.str(), HasSubstr("oldest: OnHeartBeat"));
}

}  // namespace
}  // namespace velmo_parent
