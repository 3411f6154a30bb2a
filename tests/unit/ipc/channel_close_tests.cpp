#include <algorithm>
#include <array>
#include <atomic>
#include <future>
#include <thread>

#include "channel_fixture.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr char kFilled[] = "id_evt_fld";
constexpr char kAvail[] = "id_evt_avl";

class ChannelClose : public ChannelTest {
 protected:
    void Fill(Channel& sender) {
        for (std::int32_t i = 0; i < 4; ++i)
            ASSERT_TRUE(SendValue(sender, i));
    }
};

TEST_F(ChannelClose, SignalsBothEventsAndThenReleasesEverythingInOrder) {
    const auto channel = MakeOpen(ipc::kReceives);
    m_os.ForgetCalls();

    channel->Close();

    EXPECT_THAT(m_os.Calls(), ElementsAre("Set id_evt_fld", "Set id_evt_avl", "CloseEvent id_evt_fld",
                                          "CloseEvent id_evt_avl", "Unmap id_shm", "CloseMapping id_shm"));
    EXPECT_EQ(m_os.LiveObjects(), 0);
}

TEST_F(ChannelClose, DoesNothingWhenRepeated) {
    const auto channel = MakeOpen(ipc::kReceives);
    channel->Close();
    m_os.ForgetCalls();

    channel->Close();

    EXPECT_THAT(m_os.Calls(), IsEmpty());
}

TEST_F(ChannelClose, DoesNothingOnAChannelThatWasNeverOpened) {
    const auto channel = Make(ipc::kReceives);

    channel->Close();

    EXPECT_THAT(m_os.Calls(), IsEmpty());
}

TEST_F(ChannelClose, IsDoneByTheDestructor) {
    auto channel = MakeOpen(ipc::kReceives);
    m_os.ForgetCalls();

    channel.reset();

    EXPECT_THAT(m_os.Calls(), ElementsAre("Set id_evt_fld", "Set id_evt_avl", "CloseEvent id_evt_fld",
                                          "CloseEvent id_evt_avl", "Unmap id_shm", "CloseMapping id_shm"));
}

TEST_F(ChannelClose, IsInvisibleToThePeer) {
    const auto sender = MakeOpen(ipc::kSends);
    const auto receiver = MakeOpen(ipc::kReceives);

    receiver->Close();

    EXPECT_TRUE(SendValue(*sender, 1));
}

TEST_F(ChannelClose, WakeSignalsBothEventsOnceAndReleasesNothing) {
    const auto channel = MakeOpen(ipc::kReceives);
    m_os.ForgetCalls();

    channel->Wake();
    channel->Wake();

    EXPECT_THAT(m_os.Calls(), ElementsAre("Set id_evt_fld", "Set id_evt_avl"));
    EXPECT_EQ(m_os.LiveObjects(), 3);
}

TEST_F(ChannelClose, AfterAWakeSignalsNothingMore) {
    const auto channel = MakeOpen(ipc::kReceives);
    channel->Wake();
    m_os.ForgetCalls();

    channel->Close();

    EXPECT_THAT(m_os.Calls(),
                ElementsAre("CloseEvent id_evt_fld", "CloseEvent id_evt_avl", "Unmap id_shm", "CloseMapping id_shm"));
}

TEST_F(ChannelClose, WakeOnAClosedChannelDoesNothing) {
    const auto channel = MakeOpen(ipc::kReceives);
    channel->Close();
    m_os.ForgetCalls();

    channel->Wake();

    EXPECT_THAT(m_os.Calls(), IsEmpty());
}

TEST_F(ChannelClose, ReleasesABlockedSend) {
    const auto sender = MakeOpen(ipc::kSends);
    Fill(*sender);
    auto result = std::async(std::launch::async, [&] { return SendValue(*sender, 5, false, platform::kNoTimeLimit); });
    ASSERT_TRUE(m_os.AwaitWaiters(kAvail));

    sender->Close();

    EXPECT_FALSE(result.get());
    EXPECT_EQ(m_os.LiveObjects(), 0);
}

TEST_F(ChannelClose, ReleasesABlockedReceive) {
    const auto receiver = MakeOpen(ipc::kReceives);
    auto result = std::async(std::launch::async, [&] { return ReceiveValue(*receiver, platform::kNoTimeLimit); });
    ASSERT_TRUE(m_os.AwaitWaiters(kFilled));

    receiver->Close();

    EXPECT_EQ(result.get(), std::nullopt);
    EXPECT_EQ(m_os.LiveObjects(), 0);
}

TEST_F(ChannelClose, WakeReleasesABlockedReceiveAndLeavesTheObjects) {
    const auto receiver = MakeOpen(ipc::kReceives);
    auto result = std::async(std::launch::async, [&] { return ReceiveValue(*receiver, platform::kNoTimeLimit); });
    ASSERT_TRUE(m_os.AwaitWaiters(kFilled));

    receiver->Wake();

    EXPECT_EQ(result.get(), std::nullopt);
    EXPECT_EQ(m_os.LiveObjects(), 3);
}

TEST_F(ChannelClose, LeavesTheObjectsToTheOneWhoIsStillInside) {
    const auto sender = MakeOpen(ipc::kSends);
    const auto receiver = MakeOpen(ipc::kReceives);
    ASSERT_TRUE(SendValue(*sender, 42));
    std::promise<void> entered;
    std::promise<void> mayLeave;
    std::int32_t seenAfterClose = 0;
    std::thread visitor([&] {
        receiver->Receive(
            [&](const Slot& slot) {
                entered.set_value();
                mayLeave.get_future().wait();
                seenAfterClose = slot.value;
            },
            0);
    });
    entered.get_future().wait();
    m_os.ForgetCalls();

    receiver->Close();

    EXPECT_THAT(m_os.Calls(), ElementsAre("Set id_evt_fld", "Set id_evt_avl"));
    EXPECT_EQ(ReceiveValue(*receiver), std::nullopt);  // nobody gets in any more
    mayLeave.set_value();
    visitor.join();
    EXPECT_EQ(seenAfterClose, 42);
    EXPECT_THAT(m_os.Calls(), ElementsAre("Set id_evt_fld", "Set id_evt_avl", "Set id_evt_avl", "CloseEvent id_evt_fld",
                                          "CloseEvent id_evt_avl", "Unmap id_shm", "CloseMapping id_shm"));
    EXPECT_THAT(FreeNodes(), ElementsAre(1, 2, 3, 0));  // the slot went back first
}

TEST_F(ChannelClose, ByItsOwnVisitorLetsTheSlotGoBackFirst) {
    const auto sender = MakeOpen(ipc::kSends);
    const auto receiver = MakeOpen(ipc::kReceives);
    ASSERT_TRUE(SendValue(*sender, 42));
    m_os.ForgetCalls();
    std::int32_t seenAfterClose = 0;

    receiver->Receive(
        [&](const Slot& slot) {
            receiver->Close();
            seenAfterClose = slot.value;
        },
        0);

    EXPECT_EQ(seenAfterClose, 42);
    EXPECT_THAT(m_os.Calls(), ElementsAre("Set id_evt_fld", "Set id_evt_avl", "Set id_evt_avl", "CloseEvent id_evt_fld",
                                          "CloseEvent id_evt_avl", "Unmap id_shm", "CloseMapping id_shm"));
    EXPECT_THAT(FreeNodes(), ElementsAre(1, 2, 3, 0));
}

TEST_F(ChannelClose, ByItsOwnWriterLetsTheMessageOutFirst) {
    const auto sender = MakeOpen(ipc::kSends);
    const auto receiver = MakeOpen(ipc::kReceives);

    EXPECT_TRUE(sender->Send(
        [&](Slot& slot) {
            sender->Close();
            slot = {42, 42};
        },
        false, 0));

    EXPECT_EQ(ReceiveValue(*receiver), 42);
    EXPECT_EQ(m_os.LiveObjects(), 3);  // the receiver's
}

TEST_F(ChannelClose, ByAVisitorThatDestroysTheChannelTouchesNothingMore) {
    const auto sender = MakeOpen(ipc::kSends);
    auto receiver = MakeOpen(ipc::kReceives);
    ASSERT_TRUE(SendValue(*sender, 42));
    m_os.ForgetCalls();
    Channel* const channel = receiver.get();

    channel->Receive([&](const Slot&) { receiver.reset(); }, 0);

    EXPECT_THAT(m_os.Calls(), ElementsAre("Set id_evt_fld", "Set id_evt_avl", "CloseEvent id_evt_fld",
                                          "CloseEvent id_evt_avl", "Unmap id_shm", "CloseMapping id_shm"));
    EXPECT_THAT(FreeNodes(), ElementsAre(1, 2, 3));  // nobody gave the slot back
    EXPECT_EQ(m_os.LiveObjects(), 3);                // the sender's
}

TEST_F(ChannelClose, ByAVisitorThatClosesAndThenDestroysReleasesOnce) {
    const auto sender = MakeOpen(ipc::kSends);
    auto receiver = MakeOpen(ipc::kReceives);
    ASSERT_TRUE(SendValue(*sender, 42));
    Channel* const channel = receiver.get();

    channel->Receive(
        [&](const Slot&) {
            receiver->Close();
            EXPECT_EQ(m_os.LiveObjects(), 6);
            receiver.reset();
            EXPECT_EQ(m_os.LiveObjects(), 3);
        },
        0);

    EXPECT_EQ(m_os.LiveObjects(), 3);
}

TEST_F(ChannelClose, ByAVisitorThatDestroysTheChannelAndThrowsTouchesNothingMore) {
    const auto sender = MakeOpen(ipc::kSends);
    auto receiver = MakeOpen(ipc::kReceives);
    ASSERT_TRUE(SendValue(*sender, 42));
    Channel* const channel = receiver.get();

    EXPECT_THROW(channel->Receive(
                     [&](const Slot&) {
                         receiver.reset();
                         throw 1;
                     },
                     0),
                 int);

    EXPECT_EQ(m_os.LiveObjects(), 3);
}

// A frame as deep as that of a Receive before it, and destroys the channel: nothing may be written to what was that
// Receive's stack.
bool DestroysWithoutTouchingTheStack(std::unique_ptr<Channel>& channel) {
    std::array<volatile unsigned char, 16384> stack;
    for (volatile unsigned char& byte : stack)
        byte = 0;
    channel.reset();
    return std::all_of(stack.begin(), stack.end(), [](const volatile unsigned char& byte) { return byte == 0; });
}

bool ReceivesOne(std::unique_ptr<Channel>& channel) {
    bool received = false;
    channel->Receive([&](const Slot&) { received = true; }, 0);
    return received;
}

TEST_F(ChannelClose, ByTheDestructorTellsNoVisitorThatHasReturned) {
    const auto sender = MakeOpen(ipc::kSends);
    auto receiver = MakeOpen(ipc::kReceives);
    ASSERT_TRUE(SendValue(*sender, 42));
    // Through volatile pointers, so that each has a frame of its own, at the same place.
    bool (*volatile const receive)(std::unique_ptr<Channel>&) = &ReceivesOne;
    bool (*volatile const destroy)(std::unique_ptr<Channel>&) = &DestroysWithoutTouchingTheStack;

    EXPECT_TRUE(receive(receiver));
    EXPECT_TRUE(destroy(receiver));
}

// Wake has marked the channel closed and is about to signal the first event: that and the next must still be there.
TEST_F(ChannelClose, LeavesTheObjectsToAWakeThatIsStillSignalling) {
    const auto channel = MakeOpen(ipc::kReceives);
    int objectsAfterClose = 0;
    m_os.OnSet(kFilled, [&] {
        std::thread([&] { channel->Close(); }).join();
        objectsAfterClose = m_os.LiveObjects();
    });
    m_os.ForgetCalls();

    channel->Wake();

    EXPECT_EQ(objectsAfterClose, 3);
    EXPECT_THAT(m_os.Calls(), ElementsAre("Set id_evt_fld", "Set id_evt_avl", "CloseEvent id_evt_fld",
                                          "CloseEvent id_evt_avl", "Unmap id_shm", "CloseMapping id_shm"));
}

TEST_F(ChannelClose, DestructorWaitsForTheVisitorOfAnotherThread) {
    const auto sender = MakeOpen(ipc::kSends);
    auto receiver = MakeOpen(ipc::kReceives);
    ASSERT_TRUE(SendValue(*sender, 42));
    std::promise<void> entered;
    std::atomic<bool> hasLeft{false};
    Channel* const channel = receiver.get();
    std::thread visitor([&] {
        channel->Receive(
            [&](const Slot&) {
                entered.set_value();
                // The destructor's first signal says that it has begun.
                while (!m_os.IsSet(kAvail))
                    std::this_thread::yield();
                hasLeft = true;
            },
            0);
    });
    entered.get_future().wait();

    receiver.reset();

    EXPECT_TRUE(hasLeft);
    EXPECT_EQ(m_os.LiveObjects(), 3);
    visitor.join();
}

TEST_F(ChannelClose, DestructorReleasesABlockedSendAndWaitsForIt) {
    for (int round = 0; round < 200; ++round) {
        auto sender = MakeOpen(ipc::kSends);
        Fill(*sender);
        Channel* const channel = sender.get();
        std::thread blocked([&] { EXPECT_FALSE(SendValue(*channel, 5, false, platform::kNoTimeLimit)); });
        ASSERT_TRUE(m_os.AwaitWaiters(kAvail));

        sender.reset();

        EXPECT_EQ(m_os.LiveObjects(), 0);
        blocked.join();
    }
}

TEST_F(ChannelClose, BySeveralThreadsAtOnceReleasesEverythingOnce) {
    for (int round = 0; round < 200; ++round) {
        auto receiver = MakeOpen(ipc::kReceives);
        std::thread blocked([&] { (void)ReceiveValue(*receiver, platform::kNoTimeLimit); });
        m_os.ForgetCalls();
        std::thread first([&] { receiver->Close(); });
        std::thread second([&] { receiver->Close(); });
        std::thread third([&] { receiver->Wake(); });
        first.join();
        second.join();
        third.join();
        blocked.join();

        const auto calls = m_os.Calls();
        for (const char* call : {"Set id_evt_fld", "Set id_evt_avl", "CloseEvent id_evt_fld", "CloseEvent id_evt_avl",
                                 "Unmap id_shm", "CloseMapping id_shm"}) {
            EXPECT_EQ(std::count(calls.begin(), calls.end(), call), 1) << call;
        }
        EXPECT_EQ(m_os.LiveObjects(), 0);
    }
}

TEST_F(ChannelClose, WhileMessagesAreSentNeverTakesTheViewAway) {
    for (int round = 0; round < 200; ++round) {
        auto sender = MakeOpen(ipc::kSends);
        std::atomic<bool> hasSent{false};
        std::thread busy([&] {
            while (SendValue(*sender, 5, true, 0))
                hasSent = true;  // ends when the channel is closed
        });
        while (!hasSent)
            std::this_thread::yield();
        sender->Close();
        busy.join();

        EXPECT_EQ(m_os.LiveObjects(), 0);
    }
}

}  // namespace
