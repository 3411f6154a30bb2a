#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <variant>
#include <vector>

#include "host/rvo_calyr_ml_host.h"
#include "infra/log_line.h"
#include "support/fake_kernel_objects.h"
#include "support/recording_streams.h"
#include "support/std_threads.h"
#include "support/watchdog.h"

namespace rvo_calyr {
namespace {

using support::Call;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

constexpr bool kKeepOldest = false;

// What arrived on the event channel.
struct Event {
    int index = 0;
    calyr_ipc::IpcEventOnInit onInit{};
};

// A host on a fake system, and the parent's side of its five channels.
class Host : public ::testing::Test {
 protected:
    // The parent's ends, attached after the host's.
    void OpenParent() {
        m_commands = Open<calyr_ipc::CommandChannel>("idC", ipc::kSends);
        m_frames = Open<calyr_ipc::InputChannel>("idFI", ipc::kSends);
        m_events = Open<calyr_ipc::EventChannel>("idE", ipc::kReceives);
        m_results = Open<calyr_ipc::OutputChannel>("idFO", ipc::kReceives);
        m_logs = Open<calyr_ipc::LogChannel>("idL", ipc::kReceives);
    }

    template <class Channel>
    std::unique_ptr<Channel> Open(const char* name, std::int32_t role) {
        auto channel = std::make_unique<Channel>(role, m_os, m_streams);
        EXPECT_TRUE(channel->Open(name));
        return channel;
    }

    void Attach() {
        ASSERT_EQ(m_host->Attach("id"), 0);
        OpenParent();
    }

    template <class Record>
    void Command(const Record& record = {}) {
        ASSERT_TRUE(m_commands->Send(
            [&](calyr_ipc::CommandSlot& slot) {
                slot.As<Record>() = record;
                slot.index = calyr_ipc::CommandSlot::IndexOf<Record>();
            },
            kKeepOldest, 10'000));
    }

    void CommandOfIndex(std::int8_t index) {
        ASSERT_TRUE(m_commands->Send([&](calyr_ipc::CommandSlot& slot) { slot.index = index; }, kKeepOldest, 10'000));
    }

    // All events that wait.
    std::vector<Event> Events() {
        std::vector<Event> events;
        for (bool more = true; more;) {
            more = false;
            m_events->Receive(
                [&](const calyr_ipc::EventSlot& slot) {
                    events.push_back({slot.index, slot.As<calyr_ipc::IpcEventOnInit>()});
                    more = true;
                },
                0);
        }
        return events;
    }

    // All log chunks that wait, as "level[process:thread] text"; whole lines only.
    std::vector<std::string> LogLines() {
        std::vector<std::string> lines;
        for (bool more = true; more;) {
            more = false;
            m_logs->Receive(
                [&](const calyr_ipc::IpcLogChunk& chunk) {
                    EXPECT_EQ(chunk.flags, 3);
                    lines.push_back(std::to_string(chunk.payload[0]) +
                                    std::string(chunk.payload + 4, chunk.payload + chunk.length));
                    more = true;
                },
                0);
        }
        return lines;
    }

    // Runs the command loop on a thread of its own until it ends.
    std::thread RunStart() {
        return std::thread([this] { EXPECT_EQ(m_host->Start(), 0U); });
    }

    std::string PrefixOfThisThread(std::uint32_t pid) {
        return "[" + std::to_string(pid) + ":" + std::to_string(platform::CurrentThreadId()) + "] ";
    }

    std::string ThisSuffix() {
        char buffer[32];
        return infra::TextFormator(buffer, sizeof(buffer))
                   << " [this=" << static_cast<const void*>(m_host.get()) << "]",
               std::string(buffer);
    }

    void TickTimes(int count) {
        for (int i = 0; i < count; ++i)
            m_host->OnTimer(m_unusedTimer);
    }

    support::Watchdog m_watchdog;
    support::FakeKernelObjects m_os;
    support::RecordingStreams m_streams;
    support::StdThreads m_threads;
    infra::Timer m_unusedTimer;
    std::unique_ptr<RvoCalyrMlHost> m_host = std::make_unique<RvoCalyrMlHost>(HostSeams{m_os, m_streams, m_threads});
    std::unique_ptr<calyr_ipc::CommandChannel> m_commands;
    std::unique_ptr<calyr_ipc::InputChannel> m_frames;
    std::unique_ptr<calyr_ipc::EventChannel> m_events;
    std::unique_ptr<calyr_ipc::OutputChannel> m_results;
    std::unique_ptr<calyr_ipc::LogChannel> m_logs;
};

class HostConstruction : public Host {};

TEST_F(HostConstruction, TakesTheLogSinkAndSetsTheLevelOfTwo) {
    g_logger.SetLevel(4);
    const RvoCalyrMlHost host(HostSeams{m_os, m_streams, m_threads});
    EXPECT_EQ(g_logger.GetLevel(), 2);
    EXPECT_EQ(g_logger.GetTraceSink(), static_cast<const IRvoCalyrTraceSink*>(&host));
}

TEST_F(HostConstruction, GivesTheSinkBackAtItsEnd) {
    m_host.reset();
    EXPECT_EQ(g_logger.GetTraceSink(), nullptr);
}

class HostAttach : public Host {
 protected:
    // The base names of the channels that were tried, in order.
    std::vector<std::string> Tried() {
        const std::string call = "CreateOrOpenEvent ";
        const std::string end = "_evt_avl";
        std::vector<std::string> names;
        for (const std::string& entry : m_os.Calls()) {
            if (entry.starts_with(call) && entry.ends_with(end)) {
                names.push_back(entry.substr(call.size(), entry.size() - call.size() - end.size()));
            }
        }
        return names;
    }
};

TEST_F(HostAttach, OpensTheFiveChannelsInTheirOrder) {
    EXPECT_EQ(m_host->Attach("id"), 0);
    EXPECT_THAT(Tried(), ElementsAre("idC", "idFI", "idE", "idFO", "idL"));
}

TEST_F(HostAttach, StartsTheFrameReaderBeforeTheLogChannelIsOpened) {
    m_os.FailNext(Call::CreateOrOpenEvent, support::kNotEnoughMemory, 8);  // idL_evt_avl
    EXPECT_FALSE(m_host->InitIpc("id"));
    EXPECT_EQ(m_threads.Started(), 1);
}

TEST_F(HostAttach, EndsWithThreeWhicheverChannelFails) {
    const std::vector<std::string> all = {"idC", "idFI", "idE", "idFO", "idL"};
    for (std::size_t failing = 0; failing < all.size(); ++failing) {
        SCOPED_TRACE(all[failing]);
        support::FakeKernelObjects os;
        support::RecordingStreams streams;
        support::StdThreads threads;
        {
            RvoCalyrMlHost host(HostSeams{os, streams, threads});
            os.FailNext(Call::CreateOrOpenEvent, support::kNotEnoughMemory, static_cast<int>(2 * failing));

            EXPECT_EQ(host.Attach("id"), 3);

            EXPECT_THAT(streams.Output(), EndsWith("[RVO_CALYR] InitIpc() fail, ipcId=id\n"));
        }
        EXPECT_EQ(os.LiveObjects(), 0);
        EXPECT_EQ(threads.Started(), threads.Joined());
        EXPECT_EQ(threads.Started(), failing == 4 ? 1 : 0);
    }
}

TEST_F(HostAttach, LeavesTheEarlierChannelsForTheCallerToClose) {
    m_os.FailNext(Call::CreateOrOpenEvent, support::kNotEnoughMemory, 4);  // idE_evt_avl

    EXPECT_FALSE(m_host->InitIpc("id"));

    EXPECT_EQ(m_os.LiveObjects(), 6);  // two events and a mapping of each of idC and idFI
    m_host->CloseIpc();
    EXPECT_EQ(m_os.LiveObjects(), 0);
}

TEST_F(HostAttach, SendsOnTheChannelsToTheParentAndReceivesOnTheOthers) {
    Attach();

    TickTimes(1);
    EXPECT_EQ(Events().size(), 1U);
    LogLine("a line").Log(kInfoLevel);
    EXPECT_EQ(LogLines().size(), 1U);
    CommandOfIndex(2);
    RunStart().join();
}

TEST_F(HostAttach, ThrowsWhenTheFrameReaderCannotStart) {
    m_threads.FailNextStart();
    try {
        (void)m_host->Attach("id");
        FAIL() << "no error";
    } catch (const std::system_error& error) {
        EXPECT_STREQ(error.what(), "resource unavailable try again");
    }
}

class HostCommands : public Host {};

TEST_F(HostCommands, TerminateEndsTheLoopWithExitCodeZero) {
    Attach();
    Command<calyr_ipc::IpcCommandTerminate>();

    RunStart().join();

    EXPECT_EQ(m_host->ExitCode(), 0);
    const std::string pid = std::to_string(platform::CurrentProcessId());
    EXPECT_THAT(
        LogLines(),
        ElementsAre(AllOf(StartsWith("2[" + pid + ":"),
                          EndsWith("] [RVO_CALYR]RvoCalyrMlHost::Start(), success, pid=" + pid + ThisSuffix())),
                    EndsWith("] [RVO_CALYR]RvoCalyrMlHost::Terminate()" + ThisSuffix()),
                    EndsWith("] [RVO_CALYR]RvoCalyrMlHost::Start(), exit normally, pid=" + pid + ThisSuffix())));
}

TEST_F(HostCommands, ASecondTerminateIsNeverRead) {
    Attach();
    Command<calyr_ipc::IpcCommandTerminate>();
    Command<calyr_ipc::IpcCommandTerminate>();

    RunStart().join();

    const auto& header = *reinterpret_cast<const ipc::channel_header*>(m_os.Memory("idC_shm"));
    EXPECT_EQ(header.used_head, 1);
    EXPECT_EQ(header.used_tail, 1);
}

TEST_F(HostCommands, FiniOnlyLogs) {
    Attach();
    Command<calyr_ipc::IpcCommandFini>();
    Command<calyr_ipc::IpcCommandTerminate>();

    RunStart().join();

    const std::vector<std::string> lines = LogLines();
    ASSERT_EQ(lines.size(), 4U);
    EXPECT_THAT(lines[1], AllOf(StartsWith("2"), EndsWith("] [RVO_CALYR]RvoCalyrMlHost::Fini()" + ThisSuffix())));
    EXPECT_THAT(lines[2], HasSubstr("Terminate"));
}

TEST_F(HostCommands, InitAnswersWithTheProcessIdAndTheStatus) {
    Attach();
    calyr_ipc::IpcCommandInit init{};
    init.modelType = 7;
    Command(init);
    Command<calyr_ipc::IpcCommandTerminate>();

    RunStart().join();

    const std::vector<Event> events = Events();
    ASSERT_EQ(events.size(), 1U);
    EXPECT_EQ(events[0].index, 0);
    EXPECT_EQ(events[0].onInit.one.low, 1U);
    EXPECT_EQ(events[0].onInit.one.high, 0U);
    EXPECT_EQ(events[0].onInit.pid, platform::CurrentProcessId());
    EXPECT_EQ(events[0].onInit.result, 2);
    const std::vector<std::string> lines = LogLines();
    ASSERT_EQ(lines.size(), 5U);
    EXPECT_THAT(lines[1], AllOf(StartsWith("0"), EndsWith("] [RVO_CALYR]RvoCalyrMlHost::Init() fail, error model type, "
                                                          "option.modelType=7" +
                                                          ThisSuffix())));
    EXPECT_THAT(lines[2], AllOf(StartsWith("2"), EndsWith("] [RVO_CALYR]RvoCalyrMlHost::Init() ret=2" + ThisSuffix())));
}

TEST_F(HostCommands, ASlotThatHoldsNothingThrowsOutOfTheLoop) {
    Attach();
    CommandOfIndex(calyr_ipc::kNoAlternative);
    EXPECT_THROW((void)m_host->Start(), std::bad_variant_access);
}

TEST_F(HostCommands, WithoutAChannelTheLoopGoesRoundUntilItIsStopped) {
    std::thread loop = RunStart();
    m_host->Terminate({});
    loop.join();
    EXPECT_EQ(m_host->ExitCode(), 0);
}

class HostHeartBeat : public Host {};

TEST_F(HostHeartBeat, SixGoOutAndTheSeventhTickEndsTheProcess) {
    Attach();

    TickTimes(6);
    EXPECT_EQ(m_host->ExitCode(), 0);
    const std::vector<Event> events = Events();
    ASSERT_EQ(events.size(), 6U);
    for (const Event& event : events)
        EXPECT_EQ(event.index, 1);
    EXPECT_THAT(LogLines(), IsEmpty());

    TickTimes(1);
    EXPECT_THAT(Events(), IsEmpty());
    EXPECT_EQ(m_host->ExitCode(), -1);
    EXPECT_THAT(
        LogLines(),
        ElementsAre("2" + PrefixOfThisThread(0) +
                    "[RVO_CALYR]RvoCalyrMlHost::OnTimer() heart beat timeout, will terminate process" + ThisSuffix()));

    TickTimes(1);  // until Stop comes, each further tick says it again
    EXPECT_EQ(LogLines().size(), 1U);
    RunStart().join();  // sees the flag at once
}

TEST_F(HostHeartBeat, AnAcknowledgementAfterEverySixthKeepsItGoing) {
    Attach();
    for (int round = 0; round < 5; ++round) {
        TickTimes(6);
        EXPECT_EQ(Events().size(), 6U);
        m_host->AckHeartBeat({});
    }
    EXPECT_EQ(m_host->ExitCode(), 0);
    EXPECT_THAT(LogLines(), IsEmpty());
}

TEST_F(HostHeartBeat, AHeartbeatSetsTheIndexAndFourBytesAndLeavesTheRestOfTheSlot) {
    Attach();
    std::byte* const slot = m_os.Memory("idE_shm") + 408;
    std::memset(slot, 0xC3, 20);

    TickTimes(1);

    EXPECT_EQ(slot[16], std::byte{1});
    for (const int at : {4, 5, 15, 17, 18, 19})
        EXPECT_EQ(slot[at], std::byte{0xC3}) << at;
}

TEST_F(HostHeartBeat, CountsAlsoWhenTheEventChannelIsFull) {
    Attach();
    for (int i = 0; i < 5; ++i) {
        TickTimes(6);
        m_host->AckHeartBeat({});
    }
    TickTimes(2);  // 32 slots hold as many heartbeats
    m_host->AckHeartBeat({});
    m_os.ScriptWaits("idE_evt_avl", std::vector<platform::WaitResult>(6, platform::WaitResult::TimedOut));
    m_os.ForgetCalls();

    TickTimes(6);
    const std::vector<std::string> calls = m_os.Calls();
    EXPECT_EQ(calls, std::vector<std::string>(6, "Wait idE_evt_avl 500"));
    EXPECT_EQ(m_host->ExitCode(), 0);

    TickTimes(1);
    EXPECT_EQ(m_host->ExitCode(), -1);
    EXPECT_EQ(Events().size(), 32U);
}

TEST_F(HostHeartBeat, CountsWithoutAnEventChannel) {
    TickTimes(6);
    EXPECT_EQ(m_host->ExitCode(), 0);
    TickTimes(1);
    EXPECT_EQ(m_host->ExitCode(), -1);
}

TEST_F(HostHeartBeat, AFullLogChannelKeepsTheVerdictBack) {
    Attach();
    for (int i = 0; i < 30; ++i)
        LogLine("a line").Log(kInfoLevel);
    TickTimes(6);

    std::thread tick([this] { TickTimes(1); });
    ASSERT_TRUE(m_os.AwaitWaiters("idL_evt_avl"));
    EXPECT_EQ(m_host->ExitCode(), 0);

    EXPECT_GE(LogLines().size(), 30U);
    tick.join();
    EXPECT_EQ(m_host->ExitCode(), -1);
}

class HostLog : public Host {};

TEST_F(HostLog, ShowsProcessZeroBeforeStart) {
    Attach();
    EXPECT_EQ(m_host->OnTrace(1, "text"), 0);
    EXPECT_THAT(LogLines(), ElementsAre("1" + PrefixOfThisThread(0) + "text"));
}

TEST_F(HostLog, DropsLinesWhileThereIsNoChannel) {
    LogLine("lost").Log(kErrorLevel);
    Attach();
    EXPECT_THAT(LogLines(), IsEmpty());
    EXPECT_EQ(m_streams.Error(), "");
}

TEST_F(HostLog, KeepsTheChunksOfALineTogether) {
    Attach();
    const std::string line(1000, 'a');
    constexpr int kLines = 40;
    const auto write = [&](char letter) {
        for (int i = 0; i < kLines; ++i)
            (void)m_host->OnTrace(2, std::string(1000, letter).c_str());
    };
    std::thread first(write, 'a');
    std::thread second(write, 'b');

    // 1000 bytes and a prefix make three chunks, of which each has to follow the one before.
    int lines = 0;
    std::string together;
    while (lines < 2 * kLines) {
        m_logs->Receive(
            [&](const calyr_ipc::IpcLogChunk& chunk) {
                const std::size_t from = (chunk.flags & calyr_ipc::kFirstChunk) != 0 ? 4 : 0;
                EXPECT_EQ(from == 4, together.empty());
                together.append(chunk.payload + from, chunk.payload + chunk.length);
                if ((chunk.flags & calyr_ipc::kLastChunk) != 0) {
                    const std::string text = together.substr(together.find("] ") + 2);
                    EXPECT_EQ(text, std::string(1000, text[0]));
                    together.clear();
                    ++lines;
                }
            },
            10'000);
    }
    first.join();
    second.join();
}

class HostFrames : public Host {};

TEST_F(HostFrames, TakesASlotAndGivesItBack) {
    Attach();
    for (int frame = 0; frame < 12; ++frame) {  // more than the five slots
        ASSERT_TRUE(m_frames->Send([](calyr_ipc::InputSlot& slot) { slot.index = 0; }, kKeepOldest, 10'000));
    }
}

class HostEnd : public Host {};

TEST_F(HostEnd, WakesAndReleasesTheChannelsInTheirOrder) {
    ASSERT_EQ(m_host->Attach("id"), 0);
    m_os.ForgetCalls();

    m_host->CloseIpc();

    EXPECT_THAT(m_os.Signalled(),
                ElementsAre("idC_evt_fld", "idC_evt_avl", "idFI_evt_fld", "idFI_evt_avl", "idE_evt_fld", "idE_evt_avl",
                            "idFO_evt_fld", "idFO_evt_avl", "idL_evt_fld", "idL_evt_avl"));
}

TEST_F(HostEnd, StopMayBeRepeated) {
    Attach();
    EXPECT_EQ(m_host->Stop(), 0U);
    EXPECT_EQ(m_host->Stop(), 0U);
    EXPECT_EQ(g_logger.GetTraceSink(), nullptr);
    EXPECT_EQ(m_threads.Started(), m_threads.Joined());
}

TEST_F(HostEnd, ReleasesEverythingThatItHeld) {
    ASSERT_EQ(m_host->Attach("id"), 0);
    m_host.reset();
    EXPECT_EQ(m_os.LiveObjects(), 0);
    EXPECT_EQ(m_threads.Started(), m_threads.Joined());
}

TEST_F(HostEnd, AClosedHostDropsLinesInsteadOfWaiting) {
    Attach();
    for (int i = 0; i < 30; ++i)
        LogLine("a line").Log(kInfoLevel);
    m_host->CloseIpc();
    EXPECT_EQ(m_host->OnTrace(2, "nobody hears this"), 0);
}

}  // namespace
}  // namespace rvo_calyr
