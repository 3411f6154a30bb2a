#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <mutex>
#include <span>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "ipc/channel.h"
#include "support/event_flag.h"
#include "support/fake_kernel_objects.h"
#include "support/recording_streams.h"
#include "support/std_threads.h"
#include "support/watchdog.h"
#include "velmo_parent/channel_snapshot.h"
#include "velmo_parent/receive_end.h"
#include "velmo_parent/send_end.h"

// Our ends against a channel that follows the fixed steps, in one process.
namespace velmo_parent {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

struct Message {
    std::uint32_t number;
    std::uint32_t inverse;  // of number: a slot that is written while it is read shows
    std::uint32_t filling[6];
};

constexpr std::uint32_t kPatienceMs = 60000;

// As many as take a few seconds; fewer where each is dear.
constexpr std::uint32_t kMessages = VELMOML_PEER_MESSAGES;

Message Numbered(std::uint32_t number) {
    Message message{};
    message.number = number;
    message.inverse = ~number;
    for (std::uint32_t& word : message.filling)
        word = number;
    return message;
}

// Counts what doesn't come whole and in order.
class Checker {
 public:
    void See(const Message& message) {
        const std::uint32_t expected = m_seen.load() + 1;
        const bool whole = message.inverse == ~message.number &&
                           std::all_of(std::begin(message.filling), std::end(message.filling),
                                       [&](std::uint32_t word) { return word == message.number; });
        if (message.number != expected || !whole) ++m_wrong;
        m_seen.store(expected);
    }
    // Not by std::atomic's own wait: that of the cross compiler's library can miss its wake-up.
    void AwaitAll(std::uint32_t count) const {
        while (m_seen < count)
            std::this_thread::yield();
    }
    std::uint32_t Seen() const { return m_seen; }
    std::uint32_t Wrong() const { return m_wrong; }

 private:
    std::atomic<std::uint32_t> m_seen{0};
    std::atomic<std::uint32_t> m_wrong{0};
};

// How the messages come: one by one, each after the one before has been seen, or in bursts.
enum class Pace { OneByOne, Bursts, Flood };

template <std::int32_t N>
class PeerChannelRun {
 public:
    using Fixed = ipc::channel<Message, N>;

    PeerChannelRun() { m_os.StopRecording(); }

    void ReceiveFromFixed(Pace pace, std::uint32_t count) {
        const support::Watchdog watchdog;
        ReceiveEnd<Message, N> ours(m_os, m_threads);
        ASSERT_TRUE(ours.Open("x", [this](const Message& message) { m_checker.See(message); }));
        Fixed fixed(ipc::kSends, m_os, m_streams);
        ASSERT_TRUE(fixed.Open("x"));

        for (std::uint32_t number = 1; number <= count; ++number) {
            ASSERT_TRUE(fixed.Send([&](Message& slot) { slot = Numbered(number); }, false, kPatienceMs));
            Rest(pace, number);
        }
        ours.Drain();

        EXPECT_EQ(m_checker.Seen(), count);
        EXPECT_EQ(m_checker.Wrong(), 0U);
        EXPECT_FALSE(ours.Damaged());
        // All slots are still there: the sender gets N - 1 with nobody taking part but our thread, over and over.
        for (std::uint32_t number = count + 1; number <= count + 3 * N; ++number) {
            ASSERT_TRUE(fixed.Send([&](Message& slot) { slot = Numbered(number); }, false, kPatienceMs));
        }
        ours.Drain();
        EXPECT_EQ(m_checker.Wrong(), 0U);
        ExpectAllNodesAccountedFor(1);
    }

    void SendToFixed(Pace pace, std::uint32_t count) {
        const support::Watchdog watchdog;
        SendEnd<Message, N> ours(m_os, m_threads);
        ASSERT_TRUE(ours.Open("x"));
        Fixed fixed(ipc::kReceives, m_os, m_streams);
        ASSERT_TRUE(fixed.Open("x"));
        std::thread receiver([&] {
            while (m_checker.Seen() < count) {
                fixed.Receive([this](const Message& message) { m_checker.See(message); }, kPatienceMs);
            }
        });

        for (std::uint32_t number = 1; number <= count; ++number) {
            while (ours.Send([&](Message& slot) { slot = Numbered(number); }) == SendResult::Full) {
                std::this_thread::yield();
            }
            Rest(pace, number);
        }
        receiver.join();

        EXPECT_EQ(m_checker.Seen(), count);
        EXPECT_EQ(m_checker.Wrong(), 0U);
        EXPECT_FALSE(ours.Damaged());
        EXPECT_EQ(ours.Waiting(), 0);
        ExpectAllNodesAccountedFor(0);
        for (std::int32_t i = 0; i < N - 1; ++i)
            EXPECT_EQ(ours.Send(nullptr), SendResult::Sent);
        EXPECT_EQ(ours.Send(nullptr), SendResult::Full);
    }

 private:
    void Rest(Pace pace, std::uint32_t number) {
        if (pace == Pace::OneByOne || (pace == Pace::Bursts && number % (2 * N + 1) == 0)) m_checker.AwaitAll(number);
    }

    // Nobody is at work: what stands in no list is what our receiver keeps aside.
    void ExpectAllNodesAccountedFor(std::size_t heldBack) {
        constexpr ipc::ChannelLayout kLayout = ipc::kLayoutOf<Message, N>;
        const ChannelSnapshot snapshot =
            TakeSnapshot(std::span<const std::byte>(m_os.Memory("x_shm"), kLayout.mappingSize), kLayout);
        EXPECT_EQ(snapshot.free.shape, ListShape::Whole);
        EXPECT_EQ(snapshot.used.shape, ListShape::Whole);
        EXPECT_EQ(snapshot.used.nodes.size(), heldBack);
        EXPECT_TRUE(snapshot.inBoth.empty());
        EXPECT_EQ(snapshot.free.nodes.size() + snapshot.used.nodes.size() + snapshot.inHand.size(),
                  static_cast<std::size_t>(N));
        if (heldBack == 0) {
            EXPECT_TRUE(snapshot.inHand.empty());
        }
    }

    support::FakeKernelObjects m_os;
    support::StdThreads m_threads;
    support::RecordingStreams m_streams;
    Checker m_checker;
};

TEST(PeerChannel, ReceivesEveryMessageOnceAndInOrderInAFlood) {
    PeerChannelRun<2>().ReceiveFromFixed(Pace::Flood, kMessages / 4);
    PeerChannelRun<5>().ReceiveFromFixed(Pace::Flood, kMessages);
    PeerChannelRun<32>().ReceiveFromFixed(Pace::Flood, kMessages);
}

TEST(PeerChannel, ReceivesEveryMessageOnceAndInOrderInBursts) {
    PeerChannelRun<3>().ReceiveFromFixed(Pace::Bursts, kMessages / 4);
    PeerChannelRun<30>().ReceiveFromFixed(Pace::Bursts, kMessages);
}

TEST(PeerChannel, ReceivesEveryMessageOnceAndInOrderOneByOne) {
    PeerChannelRun<5>().ReceiveFromFixed(Pace::OneByOne, kMessages / 8);
}

TEST(PeerChannel, SendsEveryMessageOnceAndInOrderInAFlood) {
    PeerChannelRun<2>().SendToFixed(Pace::Flood, kMessages / 8);
    PeerChannelRun<5>().SendToFixed(Pace::Flood, kMessages / 2);
    PeerChannelRun<32>().SendToFixed(Pace::Flood, kMessages);
}

TEST(PeerChannel, SendsEveryMessageOnceAndInOrderInBursts) {
    PeerChannelRun<3>().SendToFixed(Pace::Bursts, kMessages / 8);
    PeerChannelRun<5>().SendToFixed(Pace::Bursts, kMessages / 4);
}

TEST(PeerChannel, SendsEveryMessageOnceAndInOrderOneByOne) {
    PeerChannelRun<5>().SendToFixed(Pace::OneByOne, kMessages / 8);
}

class PeerChannelOpen : public testing::Test {
 protected:
    support::FakeKernelObjects m_os;
    support::StdThreads m_threads;
    support::RecordingStreams m_streams;
};

TEST_F(PeerChannelOpen, AttachesToAChannelThatTheOtherSideHasMade) {
    const support::Watchdog watchdog;
    ipc::channel<Message, 5> fixed(ipc::kSends, m_os, m_streams);
    ASSERT_TRUE(fixed.Open("x"));
    ASSERT_TRUE(fixed.Send([](Message& slot) { slot = Numbered(1); }, false, 0));
    Checker checker;
    ReceiveEnd<Message, 5> ours(m_os, m_threads);

    ASSERT_TRUE(ours.Open("x", [&](const Message& message) { checker.See(message); }));
    ours.Drain();

    EXPECT_EQ(checker.Seen(), 1U);  // it was there already
    EXPECT_EQ(checker.Wrong(), 0U);
}

TEST_F(PeerChannelOpen, WakesASenderThatCameBeforeTheListsWereThere) {
    const support::Watchdog watchdog;
    ReceiveEnd<Message, 5> ours(m_os, m_threads);
    ASSERT_TRUE(ours.Open("x", nullptr));
    EXPECT_TRUE(m_os.IsSet("x_evt_avl"));
}

TEST_F(PeerChannelOpen, SetsNoEventWhenItOnlyAttaches) {
    const support::Watchdog watchdog;
    ipc::channel<Message, 5> fixed(ipc::kSends, m_os, m_streams);
    ASSERT_TRUE(fixed.Open("x"));
    ReceiveEnd<Message, 5> ours(m_os, m_threads);
    ASSERT_TRUE(ours.Open("x", nullptr));
    EXPECT_FALSE(m_os.IsSet("x_evt_avl"));
}

TEST_F(PeerChannelOpen, LeavesAChannelAloneThatAppearsWhileItIsOpened) {
    const support::Watchdog watchdog;
    ipc::channel<Message, 5> fixed(ipc::kSends, m_os, m_streams);
    ASSERT_TRUE(fixed.Open("x"));
    ASSERT_TRUE(fixed.Send([](Message& slot) { slot = Numbered(1); }, false, 0));
    m_os.FailNext(support::Call::OpenMapping, support::kFileNotFound);
    Checker checker;
    ReceiveEnd<Message, 5> ours(m_os, m_threads);

    ASSERT_TRUE(ours.Open("x", [&](const Message& message) { checker.See(message); }));
    ours.Drain();

    EXPECT_EQ(checker.Seen(), 1U);
}

TEST_F(PeerChannelOpen, SaysWhatCouldNotBeHad) {
    struct Case {
        support::Call call;
        int spared;
        const char* what;
    };
    for (const Case& one : {Case{support::Call::CreateOrOpenEvent, 0, "event x_evt_avl, error 8"},
                            Case{support::Call::CreateOrOpenEvent, 1, "event x_evt_fld, error 8"},
                            Case{support::Call::CreateMapping, 0, "mapping x_shm, error 8"},
                            Case{support::Call::Map, 0, "view of mapping x_shm, error 8"}}) {
        m_os.FailNext(one.call, support::kNotEnoughMemory, one.spared);
        SendEnd<Message, 5> sender(m_os, m_threads);
        EXPECT_THAT(sender.Open("x").Why(), HasSubstr(one.what));
        EXPECT_EQ(m_os.LiveObjects(), 0);
        EXPECT_EQ(sender.Send(nullptr), SendResult::Closed);
    }
    EXPECT_EQ(m_threads.Started(), 0);
}

TEST_F(PeerChannelOpen, FailsWithoutAThread) {
    SendEnd<Message, 5> sender(m_os, m_threads);
    ReceiveEnd<Message, 5> receiver(m_os, m_threads);
    m_threads.FailNextStart();
    EXPECT_THAT(sender.Open("x").Why(), HasSubstr("no thread"));
    m_threads.FailNextStart();
    EXPECT_THAT(receiver.Open("y", nullptr).Why(), HasSubstr("no thread"));
    EXPECT_EQ(m_os.LiveObjects(), 0);
}

TEST_F(PeerChannelOpen, AnswersClosedAfterClose) {
    const support::Watchdog watchdog;
    SendEnd<Message, 5> sender(m_os, m_threads);
    ASSERT_TRUE(sender.Open("x"));
    sender.Close();
    sender.Close();
    EXPECT_EQ(sender.Send(nullptr), SendResult::Closed);
    EXPECT_EQ(m_os.LiveObjects(), 0);
    EXPECT_EQ(m_threads.Joined(), 1);
}

TEST_F(PeerChannelOpen, SendsNothingOnceTheListsAreDamaged) {
    const support::Watchdog watchdog;
    SendEnd<Message, 5> sender(m_os, m_threads);
    ASSERT_TRUE(sender.Open("x"));
    // Node 0 now leads out of range.
    const std::int32_t wrong = 77;
    ipc::AtomicWords words(
        *static_cast<ipc::channel_header*>(static_cast<void*>(m_os.Memory("x_shm"))),
        std::span(static_cast<ipc::channel_node*>(static_cast<void*>(m_os.Memory("x_shm") + 24)), 5));
    words.StoreNext(0, wrong);

    EXPECT_EQ(sender.Send(nullptr), SendResult::Closed);
    EXPECT_TRUE(sender.Damaged());
}

TEST_F(PeerChannelOpen, IsRefusedASecondTimeAndLeavesWhatIsOpen) {
    const support::Watchdog watchdog;
    SendEnd<Message, 5> sender(m_os, m_threads);
    ReceiveEnd<Message, 5> receiver(m_os, m_threads);
    Checker checker;
    ASSERT_TRUE(sender.Open("x"));
    ASSERT_TRUE(receiver.Open("y", [&](const Message& message) { checker.See(message); }));
    m_os.ForgetCalls();

    EXPECT_THAT(sender.Open("x").Why(), HasSubstr("x has been opened before"));
    EXPECT_THAT(receiver.Open("y", nullptr).Why(), HasSubstr("y has been opened before"));

    EXPECT_EQ(m_os.LiveObjects(), 6);
    EXPECT_EQ(m_threads.Started(), 2);
    EXPECT_EQ(sender.Send(nullptr), SendResult::Sent);
    ipc::channel<Message, 5> fixed(ipc::kSends, m_os, m_streams);
    ASSERT_TRUE(fixed.Open("y"));
    ASSERT_TRUE(fixed.Send([](Message& slot) { slot = Numbered(1); }, false, 0));
    receiver.Drain();
    EXPECT_EQ(checker.Seen(), 1U);  // the first visitor is still the one
}

TEST_F(PeerChannelOpen, IsRefusedOnceClosed) {
    const support::Watchdog watchdog;
    SendEnd<Message, 5> sender(m_os, m_threads);
    ReceiveEnd<Message, 5> receiver(m_os, m_threads);
    ASSERT_TRUE(sender.Open("x"));
    ASSERT_TRUE(receiver.Open("y", nullptr));
    sender.Close();
    receiver.Close();

    EXPECT_FALSE(sender.Open("x"));
    EXPECT_FALSE(receiver.Open("y", nullptr));

    EXPECT_EQ(m_os.LiveObjects(), 0);
}

// For the thread sanitizer: one thread tries to send while another opens.
TEST_F(PeerChannelOpen, MayMeetASendOnAnotherThread) {
    const support::Watchdog watchdog;
    SendEnd<Message, 5> sender(m_os, m_threads);
    std::atomic<bool> hasTried{false};
    std::thread eager([&] {
        while (sender.Send(nullptr) == SendResult::Closed) {
            hasTried = true;
            std::this_thread::yield();
        }
    });
    while (!hasTried)
        std::this_thread::yield();

    EXPECT_TRUE(sender.Open("x"));

    eager.join();
}

// What the threads of the ends do between messages.
class PeerChannelThread : public PeerChannelOpen {
 protected:
    std::vector<std::string> CallsBut(const std::string& call) const {
        std::vector<std::string> calls = m_os.Calls();
        std::erase(calls, call);
        return calls;
    }

    const support::Watchdog m_watchdog;
};

TEST_F(PeerChannelThread, SendsGoOnAfterAWriterThatThrew) {
    SendEnd<Message, 3> sender(m_os, m_threads);
    ipc::channel<Message, 3> fixed(ipc::kReceives, m_os, m_streams);
    ASSERT_TRUE(sender.Open("x"));
    ASSERT_TRUE(fixed.Open("x"));
    Checker checker;

    EXPECT_THROW((void)sender.Send([](Message&) { throw 1; }), int);

    EXPECT_EQ(sender.Send([](Message& slot) { slot = Numbered(1); }), SendResult::Sent);
    EXPECT_EQ(sender.Send([](Message& slot) { slot = Numbered(2); }), SendResult::Sent);
    EXPECT_EQ(sender.Send(nullptr), SendResult::Full);  // no slot more and none less than without the throw
    while (checker.Seen() < 2)
        fixed.Receive([&](const Message& message) { checker.See(message); }, kPatienceMs);
    EXPECT_EQ(checker.Wrong(), 0U);
}

TEST_F(PeerChannelThread, SendsNothingOfAWriterThatDeclines) {
    SendEnd<Message, 3> sender(m_os, m_threads);
    ipc::channel<Message, 3> fixed(ipc::kReceives, m_os, m_streams);
    ASSERT_TRUE(sender.Open("x"));
    ASSERT_TRUE(fixed.Open("x"));
    Checker checker;

    for (int round = 0; round < 10; ++round) {
        EXPECT_EQ(sender.SendIf([](Message& slot) {
            slot = Numbered(99);
            return Writing::Declined;
        }),
                  SendResult::Declined);
    }

    EXPECT_EQ(sender.Send([](Message& slot) { slot = Numbered(1); }), SendResult::Sent);
    EXPECT_EQ(sender.SendIf([](Message& slot) {
        slot = Numbered(2);
        return Writing::Done;
    }),
              SendResult::Sent);
    EXPECT_EQ(sender.Send(nullptr), SendResult::Full);
    while (checker.Seen() < 2)
        fixed.Receive([&](const Message& message) { checker.See(message); }, kPatienceMs);
    EXPECT_EQ(checker.Wrong(), 0U);
}

TEST_F(PeerChannelThread, TellsHowManyMessagesTheOtherSideHasNotDoneWith) {
    SendEnd<Message, 5> sender(m_os, m_threads);
    EXPECT_EQ(sender.Progress().unfinished, 0) << "not open";
    ipc::channel<Message, 5> fixed(ipc::kReceives, m_os, m_streams);
    ASSERT_TRUE(sender.Open("x"));
    ASSERT_TRUE(fixed.Open("x"));
    EXPECT_EQ(sender.Progress().sent, 0U);
    EXPECT_EQ(sender.Progress().unfinished, 0);
    for (int message = 1; message <= 4; ++message) {
        EXPECT_EQ(sender.Send(nullptr), SendResult::Sent);
        EXPECT_EQ(sender.Progress().unfinished, message);
    }
    EXPECT_EQ(sender.Progress().sent, 4U);
    (void)sender.SendIf([](Message&) { return Writing::Declined; });  // finds no slot at all
    for (int left = 3; left >= 0; --left) {
        fixed.Receive([&](const Message&) { EXPECT_EQ(sender.Progress().unfinished, left + 1) << "in its hands"; },
                      kPatienceMs);
        EXPECT_EQ(sender.Progress().unfinished, left);
    }
    (void)sender.SendIf([](Message&) { return Writing::Declined; });  // leaves a slot in hand
    EXPECT_EQ(sender.Progress().unfinished, 0);
    EXPECT_EQ(sender.Progress().sent, 4U);
}

// Keeps what it is told of slots.
class RecordingWatch : public ReceiveWatch {
 public:
    void BeforeGiving(std::int64_t /*pauseMs*/) override { m_isGiving = true; }
    void AfterGiving(std::uint64_t slots, std::int64_t pauseMs) override {
        const std::lock_guard lock(m_mutex);
        if (!m_isGiving || pauseMs < 0) slots = 0;  // out of turn
        m_isGiving = false;
        m_slots.push_back(slots);
    }
    std::vector<std::uint64_t> TakeSlots() {
        const std::lock_guard lock(m_mutex);
        return std::exchange(m_slots, {});
    }

 private:
    std::mutex m_mutex;
    std::vector<std::uint64_t> m_slots;
    bool m_isGiving = false;  // touched by the end's thread only
};

TEST_F(PeerChannelThread, TellsItsWatchThatAsManyMessagesHadSlotsAsThereAre) {
    RecordingWatch watch;
    ReceiveEnd<Message, 3> receiver(m_os, m_threads);
    ASSERT_TRUE(receiver.Open("x", nullptr, &watch));
    ipc::channel<Message, 3> fixed(ipc::kSends, m_os, m_streams);
    ASSERT_TRUE(fixed.Open("x"));
    std::size_t told = 0;
    for (std::uint64_t message = 1; message <= 30; ++message) {
        ASSERT_TRUE(fixed.Send(nullptr, false, kPatienceMs));
        receiver.Drain();
        // Slots are given when all have been used up: for the latest message the last one.
        for (const std::uint64_t slots : watch.TakeSlots()) {
            EXPECT_EQ(slots, message);
            ++told;
        }
    }
    EXPECT_GE(told, 10U) << "two at a time at most";
}

TEST_F(PeerChannelThread, TellsItsWatchHowLongTheOtherSideCanHaveBeenWithoutASlot) {
    class Pauses : public ReceiveWatch {
     public:
        void AfterGiving(std::uint64_t /*slots*/, std::int64_t pauseMs) override { longestMs = pauseMs; }
        std::int64_t longestMs = 0;
    } watch;
    support::EventFlag release;
    ReceiveEnd<Message, 3> receiver(m_os, m_threads);
    int seen = 0;
    ASSERT_TRUE(receiver.Open(
        "x",
        [&](const Message&) {
            if (++seen == 1) {
                EXPECT_TRUE(release.Wait());
            }
        },
        &watch));
    ipc::channel<Message, 3> fixed(ipc::kSends, m_os, m_streams);
    ASSERT_TRUE(fixed.Open("x"));
    for (int message = 0; message < 3; ++message)
        ASSERT_TRUE(fixed.Send(nullptr, false, kPatienceMs));
    EXPECT_FALSE(fixed.Send(nullptr, false, 300)) << "nobody gives a slot";

    release.Set();
    receiver.Drain();

    EXPECT_GE(watch.longestMs, 300);
    receiver.Close();
}

TEST_F(PeerChannelThread, LooksWhenItIsWoken) {
    class Looks : public ReceiveWatch {
     public:
        void AfterLook() override { ++count; }
        std::atomic<int> count{0};
    } watch;
    ReceiveEnd<Message, 3> receiver(m_os, m_threads);
    receiver.Wake();  // harmless
    ASSERT_TRUE(receiver.Open("x", nullptr, &watch));
    ASSERT_TRUE(m_os.AwaitWaiters("x_evt_fld"));
    m_os.ForgetCalls();

    receiver.Wake();

    EXPECT_THAT(m_os.Signalled(), Contains("x_evt_fld"));
    const int before = watch.count;
    while (watch.count == before)
        std::this_thread::yield();
    receiver.Close();
    receiver.Wake();
}

TEST_F(PeerChannelThread, LooksOftenFromTheMomentAMessageIsKept) {
    SendEnd<Message, 5> sender(m_os, m_threads);
    ASSERT_TRUE(sender.Open("x"));
    ASSERT_TRUE(m_os.AwaitWaiters("x_evt_avl"));
    m_os.ForgetCalls();

    EXPECT_EQ(sender.Send(nullptr), SendResult::Sent);
    EXPECT_EQ(sender.Send(nullptr), SendResult::Sent);
    EXPECT_EQ(sender.Waiting(), 1);

    const std::string longWait = "Wait x_evt_avl 500";  // another one when this test is slow
    while (CallsBut(longWait).size() < 3)
        std::this_thread::yield();
    const std::vector<std::string> calls = CallsBut(longWait);
    EXPECT_EQ(calls[0], "Set x_evt_fld");  // the first message goes out
    EXPECT_EQ(calls[1], "Set x_evt_avl");  // the second is kept: this end wakes its own thread
    EXPECT_EQ(calls[2], "Wait x_evt_avl 1");
}

TEST_F(PeerChannelThread, RestsWhenASendersWaitFails) {
    m_os.ScriptWaits("x_evt_avl", std::vector<platform::WaitResult>(5, platform::WaitResult::Failed));
    SendEnd<Message, 5> sender(m_os, m_threads);
    const auto start = std::chrono::steady_clock::now();

    ASSERT_TRUE(sender.Open("x"));
    ASSERT_TRUE(m_os.AwaitWaiters("x_evt_avl"));  // the sixth

    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(5 * 10));
    EXPECT_EQ(sender.Send(nullptr), SendResult::Sent);
}

TEST_F(PeerChannelThread, RestsWhenAReceiversWaitFails) {
    m_os.ScriptWaits("x_evt_fld", std::vector<platform::WaitResult>(5, platform::WaitResult::Failed));
    ReceiveEnd<Message, 5> receiver(m_os, m_threads);
    Checker checker;
    const auto start = std::chrono::steady_clock::now();

    ASSERT_TRUE(receiver.Open("x", [&](const Message& message) { checker.See(message); }));
    ASSERT_TRUE(m_os.AwaitWaiters("x_evt_fld"));  // the sixth

    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(5 * 10));
    ipc::channel<Message, 5> fixed(ipc::kSends, m_os, m_streams);
    ASSERT_TRUE(fixed.Open("x"));
    ASSERT_TRUE(fixed.Send([](Message& slot) { slot = Numbered(1); }, false, 0));
    receiver.Drain();
    EXPECT_EQ(checker.Seen(), 1U);
}

TEST_F(PeerChannelThread, GivesSlotsBackBeforeAReaderTakesItsTime) {
    support::EventFlag filled;
    support::EventFlag atTheSecond;
    support::EventFlag release;
    ReceiveEnd<Message, 3> receiver(m_os, m_threads);
    std::atomic<std::uint32_t> whole{0};
    ASSERT_TRUE(receiver.Open("x", [&](const Message& message) {
        const std::uint32_t number = message.number;
        if (number == 1) {
            EXPECT_TRUE(filled.Wait());
        } else if (number == 2) {
            atTheSecond.Set();
            EXPECT_TRUE(release.Wait());
        }
        if (message.inverse == ~number) ++whole;  // the slot in the reader's hands is not among those given
    }));
    ipc::channel<Message, 3> fixed(ipc::kSends, m_os, m_streams);
    ASSERT_TRUE(fixed.Open("x"));
    const auto send = [&](std::uint32_t number) {
        return fixed.Send([&](Message& slot) { slot = Numbered(number); }, false, 0);
    };
    for (std::uint32_t number = 1; number <= 3; ++number)
        ASSERT_TRUE(send(number));
    EXPECT_FALSE(send(4)) << "all slots are used up";
    filled.Set();
    ASSERT_TRUE(atTheSecond.Wait());

    EXPECT_TRUE(send(4)) << "the first one's slot";
    EXPECT_FALSE(send(5));

    release.Set();
    receiver.Drain();
    EXPECT_EQ(whole, 4U);
    receiver.Close();
}

TEST_F(PeerChannelThread, GivesSlotsBackAlsoWithoutANewMessage) {
    ReceiveEnd<Message, 3> receiver(m_os, m_threads);
    ASSERT_TRUE(receiver.Open("x", nullptr));
    ipc::channel<Message, 3> fixed(ipc::kSends, m_os, m_streams);
    ASSERT_TRUE(fixed.Open("x"));
    ASSERT_TRUE(fixed.Send(nullptr, false, 0));
    ASSERT_TRUE(fixed.Send(nullptr, false, 0));
    receiver.Drain();  // one slot is kept aside now, one held back, and one still free
    constexpr ipc::ChannelLayout kLayout = ipc::kLayoutOf<Message, 3>;
    const auto freeNodes = [&] {
        return TakeSnapshot(std::span<const std::byte>(m_os.Memory("x_shm"), kLayout.mappingSize), kLayout).free.nodes;
    };
    ASSERT_THAT(freeNodes(), ElementsAre(2));
    m_os.ForgetCalls();

    ASSERT_TRUE(fixed.Send(
        [&](Message&) {  // has the last free slot, and has not published it
            EXPECT_THAT(freeNodes(), IsEmpty());
            receiver.Drain();
            EXPECT_THAT(freeNodes(), ElementsAre(0));
            EXPECT_THAT(m_os.Signalled(), Contains("x_evt_avl"));
        },
        false, 0));
}

}  // namespace
}  // namespace velmo_parent
