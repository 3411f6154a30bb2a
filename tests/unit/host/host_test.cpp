#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>
#include <utility>
#include <variant>
#include <vector>

#include "helpers/portrait_option.h"
#include "host/rvo_calyr_ml_host.h"
#include "infra/log_line.h"
#include "support/fake_helper.h"
#include "support/fake_kernel_objects.h"
#include "support/recording_streams.h"
#include "support/std_threads.h"
#include "support/watchdog.h"
#include "velmo_parent/receive_end.h"
#include "velmo_parent/send_end.h"

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

// A sink that keeps lines, for a host that has no log channel.
class LineRecorder final : public IRvoCalyrTraceSink {
 public:
    std::int32_t OnTrace(std::uint32_t /*level*/, const char* text) override {
        const std::lock_guard lock(m_mutex);
        m_lines += text;
        m_changed.notify_all();
        return 0;
    }
    void AwaitLine(const std::string& part) {
        std::unique_lock lock(m_mutex);
        const auto end = std::chrono::system_clock::now() + std::chrono::minutes(1);
        EXPECT_TRUE(m_changed.wait_until(lock, end, [&] { return m_lines.find(part) != std::string::npos; }));
    }

 private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::string m_lines;
};

// Reads a log channel on a thread of its own, by the rules that lose nothing while the host sends: two ends that both
// follow the fixed steps may lose a slot when they meet on a nearly empty list.
class LogReader {
 public:
    LogReader(platform::KernelObjects& os, platform::Threads& threads) : m_log(os, threads) {
        EXPECT_TRUE(m_log.Open("idL", [this](const calyr_ipc::IpcLogChunk& /*chunk*/) {
            const std::lock_guard lock(m_mutex);
            ++m_chunks;
            m_changed.notify_all();
        }));
    }
    void AwaitChunks(int count) {
        std::unique_lock lock(m_mutex);
        const auto end = std::chrono::system_clock::now() + std::chrono::minutes(1);
        EXPECT_TRUE(m_changed.wait_until(lock, end, [&] { return m_chunks >= count; }));
    }

 private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    int m_chunks = 0;
    velmo_parent::ReceiveEnd<calyr_ipc::IpcLogChunk, 30> m_log;  // declared last: its thread uses the others
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
        ASSERT_TRUE(
            m_os.AwaitWaiters("idFI_evt_fld"));  // the frame reader rests: what is called from now on is the test's
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

    // 32 heartbeats, as many as there are slots.
    void FillEvents() {
        for (int beat = 0; beat < 32; ++beat) {
            m_host->AckHeartBeat({});
            TickTimes(1);
        }
        m_host->AckHeartBeat({});
    }

    // A new host, and no parent attached to it yet.
    void FreshHost() {
        m_host.reset();
        m_commands.reset();
        m_frames.reset();
        m_events.reset();
        m_results.reset();
        m_logs.reset();
        m_host = std::make_unique<RvoCalyrMlHost>(HostSeams{m_os, m_streams, m_threads, m_helpers});
    }

    support::Watchdog m_watchdog;
    support::FakeKernelObjects m_os;
    support::RecordingStreams m_streams;
    support::StdThreads m_threads;
    support::FakeHelper m_helper;
    support::FakeHelpers m_helpers;  // none, until a test puts one in
    infra::Timer m_unusedTimer;
    std::unique_ptr<RvoCalyrMlHost> m_host =
        std::make_unique<RvoCalyrMlHost>(HostSeams{m_os, m_streams, m_threads, m_helpers});
    std::unique_ptr<calyr_ipc::CommandChannel> m_commands;
    std::unique_ptr<calyr_ipc::InputChannel> m_frames;
    std::unique_ptr<calyr_ipc::EventChannel> m_events;
    std::unique_ptr<calyr_ipc::OutputChannel> m_results;
    std::unique_ptr<calyr_ipc::LogChannel> m_logs;
};

class HostConstruction : public Host {};

TEST_F(HostConstruction, TakesTheLogSinkAndSetsTheLevelOfTwo) {
    g_logger.SetLevel(4);
    const RvoCalyrMlHost host(HostSeams{m_os, m_streams, m_threads, m_helpers});
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
            EXPECT_EQ(os.LiveObjects(), failing == 4 ? 3 : 0);  // what the reader's thread holds until it is stopped
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

TEST_F(HostCommands, AreWaitedForASecondAtATime) {
    Attach();
    std::thread loop = RunStart();
    ASSERT_TRUE(m_os.AwaitWaiters("idC_evt_fld"));
    EXPECT_THAT(m_os.Calls(), ::testing::Contains("Wait idC_evt_fld 1000"));
    CommandOfIndex(2);
    loop.join();
}

TEST_F(HostCommands, InitOfAFamilyPassesOnWhatItsHelperSays) {
    for (const std::int32_t type : {0, 1, 2}) {
        SCOPED_TRACE(type);
        FreshHost();
        Attach();
        m_helpers.helpers = {{type, &m_helper}};
        m_helper.initStatus = static_cast<std::uint32_t>(type);
        _CalyrPortraitOption option;
        option.modelType = type;
        m_host->Init(option);
        const std::vector<Event> events = Events();
        ASSERT_EQ(events.size(), 1U);
        EXPECT_EQ(events[0].index, 0);
        EXPECT_EQ(events[0].onInit.result, type);
        EXPECT_EQ(events[0].onInit.pid, platform::CurrentProcessId());
        EXPECT_THAT(LogLines(), ElementsAre(AllOf(StartsWith("2"), EndsWith("] [RVO_CALYR]RvoCalyrMlHost::Init() ret=" +
                                                                            std::to_string(type) + ThisSuffix()))));
    }
}

TEST_F(HostCommands, InitThatThrowsIsAnsweredWithThree) {
    Attach();
    m_helpers.helpers[0] = &m_helper;
    m_helper.initError = std::make_exception_ptr(std::runtime_error("no such disk"));

    m_host->Init({});

    EXPECT_THAT(
        LogLines(),
        ElementsAre(AllOf(StartsWith("0"), EndsWith("] [RVO_CALYR]RvoCalyrMlHost::Init() fail, error=no such "
                                                    "disk" +
                                                    ThisSuffix())),
                    AllOf(StartsWith("2"), EndsWith("] [RVO_CALYR]RvoCalyrMlHost::Init() ret=3" + ThisSuffix()))));
    const std::vector<Event> events = Events();
    ASSERT_EQ(events.size(), 1U);
    EXPECT_EQ(events[0].onInit.result, 3);
    EXPECT_EQ(events[0].onInit.pid, platform::CurrentProcessId());
    m_helper.initError = nullptr;
    m_host->Init({});
    EXPECT_EQ(Events()[0].onInit.result, 0) << "the next one is as good as any";
}

TEST_F(HostCommands, InitWhoseHelperCanNotBeBuiltIsAnsweredWithThree) {
    Attach();
    m_helpers.error = std::make_exception_ptr(std::system_error(std::make_error_code(std::errc::not_enough_memory)));

    m_host->Init({});

    ASSERT_EQ(Events().size(), 1U);
    EXPECT_THAT(LogLines(), ElementsAre(AllOf(StartsWith("0"), HasSubstr("RvoCalyrMlHost::Init() fail, error=")),
                                        AllOf(StartsWith("2"), HasSubstr("Init() ret=3"))));
}

TEST_F(HostCommands, InitLetsOutWhatIsNoStandardException) {
    Attach();
    m_helpers.helpers[0] = &m_helper;
    m_helper.initError = std::make_exception_ptr(7);

    EXPECT_THROW(m_host->Init({}), int);
}

TEST_F(HostCommands, InitGoesOnWhenItsEventFindsNoRoom) {
    Attach();
    FillEvents();
    m_os.ScriptWaits("idE_evt_avl", {platform::WaitResult::TimedOut});
    m_os.ForgetCalls();

    m_host->Init({});

    EXPECT_THAT(m_os.Calls(), ::testing::Contains("Wait idE_evt_avl 500").Times(1));
    EXPECT_THAT(LogLines().back(), HasSubstr("Init() ret="));
    for (const Event& event : Events())
        EXPECT_EQ(event.index, 1);  // nothing was overtaken
}

TEST_F(HostCommands, InitGoesOnWithoutAnEventChannel) {
    m_host->Init({});
    EXPECT_EQ(m_host->ExitCode(), 0);
}

TEST_F(HostCommands, TerminateLeavesTheVerdictOfTheWatchdog) {
    Attach();
    TickTimes(7);
    m_host->Terminate({});
    EXPECT_EQ(m_host->ExitCode(), -1);
}

TEST_F(HostCommands, ATickAfterTerminateStillSendsAHeartbeat) {
    Attach();
    m_host->Terminate({});
    TickTimes(1);
    EXPECT_EQ(Events().size(), 1U);
}

TEST_F(HostCommands, ASlotThatHoldsNothingThrowsOutOfTheLoop) {
    Attach();
    CommandOfIndex(calyr_ipc::kNoAlternative);
    EXPECT_THROW((void)m_host->Start(), std::bad_variant_access);
}

TEST_F(HostCommands, WithoutAChannelTheLoopGoesRoundUntilItIsStopped) {
    LineRecorder recorder;
    g_logger.SetTraceSink(&recorder);
    std::thread loop = RunStart();
    recorder.AwaitLine("RvoCalyrMlHost::Start(), success");  // from here on it goes round
    m_host->Terminate({});
    loop.join();
    EXPECT_EQ(m_host->ExitCode(), 0);
    g_logger.SetTraceSink(nullptr);
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
    FillEvents();
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

    LogReader reader(m_os, m_threads);
    tick.join();
    EXPECT_EQ(m_host->ExitCode(), -1);
    reader.AwaitChunks(31);
}

TEST_F(HostHeartBeat, WaitsWhileAnInitHoldsTheChannels) {
    Attach();
    FillEvents();
    std::thread init([this] { m_host->Init({}); });
    ASSERT_TRUE(m_os.AwaitWaiters("idE_evt_avl"));  // in its 500 ms for room, with the lock held

    std::thread tick([this] { TickTimes(1); });
    EXPECT_FALSE(m_os.AwaitWaiters("idE_evt_avl", 2, std::chrono::milliseconds(50)));

    init.join();  // after its 500 ms, and then the tick after its own
    tick.join();
    EXPECT_EQ(Events().size(), 32U);
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
    ASSERT_EQ(m_host->Attach("id"), 0);
    constexpr int kLines = 40;
    // 1000 bytes and a prefix make three chunks, of which each has to follow the one before. Read by the rules that
    // lose nothing while the host sends.
    std::atomic<int> lines{0};
    std::string together;
    velmo_parent::ReceiveEnd<calyr_ipc::IpcLogChunk, 30> log(m_os, m_threads);
    ASSERT_TRUE(log.Open("idL", [&](const calyr_ipc::IpcLogChunk& chunk) {
        const std::size_t from = (chunk.flags & calyr_ipc::kFirstChunk) != 0 ? 4 : 0;
        EXPECT_EQ(from == 4, together.empty());
        together.append(chunk.payload + from, chunk.payload + chunk.length);
        if ((chunk.flags & calyr_ipc::kLastChunk) != 0) {
            const std::string text = together.substr(together.find("] ") + 2);
            EXPECT_EQ(text, std::string(1000, text[0]));
            together.clear();
            ++lines;
        }
    }));
    const auto write = [&](char letter) {
        for (int i = 0; i < kLines; ++i)
            (void)m_host->OnTrace(2, std::string(1000, letter).c_str());
    };
    std::thread first(write, 'a');
    std::thread second(write, 'b');
    first.join();
    second.join();
    log.Drain();
    EXPECT_EQ(lines, 2 * kLines);
}

TEST_F(HostLog, WaitsWithoutLimitForRoom) {
    Attach();
    for (int i = 0; i < 30; ++i)
        LogLine("a line").Log(kInfoLevel);
    m_os.ScriptWaits("idL_evt_avl", {platform::WaitResult::TimedOut});
    m_os.ForgetCalls();
    std::thread logging([this] { (void)m_host->OnTrace(2, "the thirty-first"); });
    ASSERT_TRUE(m_os.AwaitWaiters("idL_evt_avl"));
    EXPECT_THAT(m_os.Calls(), ::testing::Each("Wait idL_evt_avl 4294967295"));
    LogReader reader(m_os, m_threads);
    logging.join();
    reader.AwaitChunks(31);
}

class HostFrames : public Host {};

TEST_F(HostFrames, AreTakenAndTheirSlotsGivenBack) {
    ASSERT_EQ(m_host->Attach("id"), 0);
    velmo_parent::ReceiveEnd<calyr_ipc::OutputSlot, 5> results(m_os, m_threads);  // or each would wait for room
    ASSERT_TRUE(results.Open("idFO", [](const calyr_ipc::OutputSlot&) {}));
    velmo_parent::SendEnd<calyr_ipc::InputSlot, 5> frames(m_os, m_threads);
    ASSERT_TRUE(frames.Open("idFI"));
    for (int sent = 0; sent < 12;) {  // more than the five slots
        const auto result = frames.Send([](calyr_ipc::InputSlot& slot) { slot.index = 0; });
        ASSERT_NE(result, velmo_parent::SendResult::Closed);
        if (result == velmo_parent::SendResult::Sent) {
            ++sent;
        } else {
            std::this_thread::yield();
        }
    }
}

TEST_F(HostFrames, AreWaitedForFiveSecondsAtATime) {
    ASSERT_EQ(m_host->Attach("id"), 0);
    ASSERT_TRUE(m_os.AwaitWaiters("idFI_evt_fld"));
    m_os.ForgetCalls();
    m_os.ScriptWaits("idFI_evt_fld", {platform::WaitResult::TimedOut});
    m_os.Signal("idFI_evt_fld");  // a pass with nothing in it, and one whose time runs out
    ASSERT_TRUE(m_os.AwaitWaiters("idFI_evt_fld"));
    EXPECT_THAT(m_os.Calls(), ::testing::Each("Wait idFI_evt_fld 5000"));
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

// Notes, at each join, how far the wind-down has come.
class WatchfulThreads final : public platform::Threads {
 public:
    explicit WatchfulThreads(support::FakeKernelObjects& os) : m_os(os) {}

    std::unique_ptr<platform::Thread> Start(std::function<void()> body) override {
        return std::make_unique<Watched>(*this, m_threads.Start(std::move(body)));
    }

    std::vector<std::vector<std::string>> signalledAtJoin;  // events set so far
    std::vector<IRvoCalyrTraceSink*> sinkAtJoin;

 private:
    class Watched final : public platform::Thread {
     public:
        Watched(WatchfulThreads& owner, std::unique_ptr<platform::Thread> thread)
            : m_owner(owner), m_thread(std::move(thread)) {}
        bool Join() override {
            m_owner.signalledAtJoin.push_back(m_owner.m_os.Signalled());
            m_owner.sinkAtJoin.push_back(g_logger.GetTraceSink());
            return m_thread->Join();
        }
        bool IsCurrent() const override { return m_thread->IsCurrent(); }

     private:
        WatchfulThreads& m_owner;
        std::unique_ptr<platform::Thread> m_thread;
    };

    support::FakeKernelObjects& m_os;
    support::StdThreads m_threads;
};

TEST_F(HostEnd, StopEndsTheTimerThenTheReaderThenTheChannelsAndTakesTheSinkAwayLast) {
    WatchfulThreads threads(m_os);
    RvoCalyrMlHost host(HostSeams{m_os, m_streams, threads});
    ASSERT_EQ(host.Attach("other"), 0);
    host.Terminate({});
    EXPECT_EQ(host.Start(), 0U);
    m_os.ForgetCalls();

    EXPECT_EQ(host.Stop(), 0U);

    ASSERT_EQ(threads.signalledAtJoin.size(), 2U);
    EXPECT_THAT(threads.signalledAtJoin[0], IsEmpty());  // the timer's thread
    EXPECT_THAT(threads.signalledAtJoin[1], ElementsAre("otherFI_evt_fld", "otherFI_evt_avl"));
    EXPECT_THAT(threads.sinkAtJoin, ElementsAre(&host, &host));
    EXPECT_THAT(m_os.Signalled(), ElementsAre("otherFI_evt_fld", "otherFI_evt_avl", "otherC_evt_fld", "otherC_evt_avl",
                                              "otherE_evt_fld", "otherE_evt_avl", "otherFO_evt_fld", "otherFO_evt_avl",
                                              "otherL_evt_fld", "otherL_evt_avl"));
    EXPECT_EQ(g_logger.GetTraceSink(), nullptr);
}

TEST_F(HostEnd, CloseIpcWaitsForALineThatWaitsForRoom) {
    Attach();
    for (int i = 0; i < 30; ++i)
        LogLine("a line").Log(kInfoLevel);
    std::thread logging([this] { (void)m_host->OnTrace(2, "the thirty-first"); });
    ASSERT_TRUE(m_os.AwaitWaiters("idL_evt_avl"));

    std::atomic<bool> isClosed{false};
    std::thread closing([&] {
        m_host->CloseIpc();
        isClosed = true;
    });
    EXPECT_FALSE(m_os.AwaitWaiters("idL_evt_avl", 0, std::chrono::milliseconds(50)));
    EXPECT_FALSE(isClosed);

    LogReader reader(m_os, m_threads);
    logging.join();
    closing.join();
    reader.AwaitChunks(31);
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
