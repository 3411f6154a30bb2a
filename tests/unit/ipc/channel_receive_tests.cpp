#include <chrono>

#include "channel_fixture.h"

using platform::WaitResult;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr char kFilled[] = "id_evt_fld";

class ChannelReceive : public ChannelTest {};

TEST_F(ChannelReceive, ShowsTheMessageInItsSlotAndGivesTheSlotBack) {
    const auto sender = MakeOpen(ipc::kSends);
    const auto receiver = MakeOpen(ipc::kReceives);
    ASSERT_TRUE(SendValue(*sender, 42));
    m_os.ForgetCalls();
    const void* seen = nullptr;
    std::vector<std::int32_t> freeDuringVisit;

    receiver->Receive(
        [&](const Slot& slot) {
            seen = &slot;
            EXPECT_EQ(slot.value, 42);
            freeDuringVisit = FreeNodes();
        },
        0);

    EXPECT_EQ(seen, m_os.Memory("id_shm") + kSlotsOffset);
    EXPECT_THAT(freeDuringVisit, ElementsAre(1, 2, 3));
    EXPECT_THAT(FreeNodes(), ElementsAre(1, 2, 3, 0));
    EXPECT_THAT(UsedNodes(), IsEmpty());
    EXPECT_THAT(m_os.Calls(), ElementsAre("Set id_evt_avl"));
}

TEST_F(ChannelReceive, TakesOneMessagePerCallInTheOrderTheyWereSent) {
    const auto sender = MakeOpen(ipc::kSends);
    const auto receiver = MakeOpen(ipc::kReceives);
    for (std::int32_t i = 0; i < 4; ++i)
        ASSERT_TRUE(SendValue(*sender, i));

    for (std::int32_t i = 0; i < 4; ++i)
        EXPECT_EQ(ReceiveValue(*receiver), i);
}

TEST_F(ChannelReceive, ReturnsAfterItsTimeOutWithoutCallingTheVisitor) {
    const auto receiver = MakeOpen(ipc::kReceives);
    const auto start = std::chrono::steady_clock::now();

    EXPECT_EQ(ReceiveValue(*receiver, 100), std::nullopt);

    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(100));
}

TEST_F(ChannelReceive, WaitsTheWholeTimeOutAgainAfterAStraySignal) {
    const auto receiver = MakeOpen(ipc::kReceives);
    m_os.ForgetCalls();
    m_os.ScriptWaits(kFilled, {WaitResult::Signalled, WaitResult::TimedOut});

    EXPECT_EQ(ReceiveValue(*receiver, 1000), std::nullopt);

    EXPECT_THAT(m_os.Calls(), ElementsAre("Wait id_evt_fld 1000", "Wait id_evt_fld 1000"));
}

TEST_F(ChannelReceive, TakesTheMessageThatCameDuringItsWait) {
    const auto sender = MakeOpen(ipc::kSends);
    const auto receiver = MakeOpen(ipc::kReceives);
    m_os.OnWait(kFilled, [&] { ASSERT_TRUE(SendValue(*sender, 42)); });

    EXPECT_EQ(ReceiveValue(*receiver, 1000), 42);
}

TEST_F(ChannelReceive, ReturnsWhenAWaitFailsAlsoWithoutATimeLimit) {
    const auto receiver = MakeOpen(ipc::kReceives);
    m_os.ScriptWaits(kFilled, {WaitResult::Failed});

    EXPECT_EQ(ReceiveValue(*receiver, platform::kNoTimeLimit), std::nullopt);
}

TEST_F(ChannelReceive, ReturnsAtOnceOnAChannelThatSends) {
    const auto sender = MakeOpen(ipc::kSends);
    ASSERT_TRUE(SendValue(*sender, 42));
    m_os.ForgetCalls();

    EXPECT_EQ(ReceiveValue(*sender, 1000), std::nullopt);

    EXPECT_THAT(m_os.Calls(), IsEmpty());
    EXPECT_THAT(UsedNodes(), ElementsAre(0));
}

TEST_F(ChannelReceive, ReturnsAtOnceOnAChannelThatWasNeverOpened) {
    const auto receiver = Make(ipc::kReceives);

    EXPECT_EQ(ReceiveValue(*receiver, 1000), std::nullopt);

    EXPECT_THAT(m_os.Calls(), IsEmpty());
}

TEST_F(ChannelReceive, ReturnsAtOnceOnAClosedChannel) {
    const auto sender = MakeOpen(ipc::kSends);
    const auto receiver = MakeOpen(ipc::kReceives);
    ASSERT_TRUE(SendValue(*sender, 42));
    receiver->Close();
    m_os.ForgetCalls();

    EXPECT_EQ(ReceiveValue(*receiver, 1000), std::nullopt);

    EXPECT_THAT(m_os.Calls(), IsEmpty());
    EXPECT_THAT(UsedNodes(), ElementsAre(0));
}

TEST_F(ChannelReceive, StillTakesWhatIsQueuedOnAWokenChannelAndThenDoesNotWait) {
    const auto sender = MakeOpen(ipc::kSends);
    const auto receiver = MakeOpen(ipc::kReceives);
    ASSERT_TRUE(SendValue(*sender, 42));
    receiver->Wake();
    m_os.ForgetCalls();

    EXPECT_EQ(ReceiveValue(*receiver, 1000), 42);
    EXPECT_EQ(ReceiveValue(*receiver, 1000), std::nullopt);

    EXPECT_THAT(m_os.Calls(), ElementsAre("Set id_evt_avl"));
}

TEST_F(ChannelReceive, LeavesTheMessageThatCameTogetherWithItsClosing) {
    const auto sender = MakeOpen(ipc::kSends);
    const auto receiver = MakeOpen(ipc::kReceives);
    m_os.OnWait(kFilled, [&] {
        ASSERT_TRUE(SendValue(*sender, 42));
        receiver->Wake();
    });

    EXPECT_EQ(ReceiveValue(*receiver, 1000), std::nullopt);

    EXPECT_THAT(UsedNodes(), ElementsAre(0));
}

TEST_F(ChannelReceive, DropsTheMessageWithoutAVisitor) {
    const auto sender = MakeOpen(ipc::kSends);
    const auto receiver = MakeOpen(ipc::kReceives);
    ASSERT_TRUE(SendValue(*sender, 42));

    receiver->Receive(nullptr, 0);

    EXPECT_THAT(UsedNodes(), IsEmpty());
    EXPECT_THAT(FreeNodes(), ElementsAre(1, 2, 3, 0));
}

TEST_F(ChannelReceive, LetsTheExceptionOfAVisitorThrough) {
    const auto sender = MakeOpen(ipc::kSends);
    auto receiver = MakeOpen(ipc::kReceives);
    ASSERT_TRUE(SendValue(*sender, 1));
    ASSERT_TRUE(SendValue(*sender, 2));

    EXPECT_THROW(receiver->Receive([](const Slot&) { throw 1; }, 0), int);

    EXPECT_EQ(ReceiveValue(*receiver), 2);
    receiver.reset();                  // neither waits for that visitor nor tells it
    EXPECT_EQ(m_os.LiveObjects(), 3);  // the sender's
}

}  // namespace
