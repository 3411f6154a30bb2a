#include <chrono>
#include <thread>

#include "channel_fixture.h"

using platform::WaitResult;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr char kAvail[] = "id_evt_avl";

class ChannelSend : public ChannelTest {
 protected:
    void Fill(Channel& sender) {
        for (std::int32_t i = 0; i < 4; ++i)
            ASSERT_TRUE(SendValue(sender, i));
    }
};

TEST_F(ChannelSend, PutsTheMessageIntoTheFirstFreeSlotAndSignals) {
    const auto sender = MakeOpen(ipc::kSends);
    m_os.ForgetCalls();

    EXPECT_TRUE(SendValue(*sender, 42));

    EXPECT_EQ(Word(kSlotsOffset), 42);
    EXPECT_THAT(UsedNodes(), ElementsAre(0));
    EXPECT_THAT(FreeNodes(), ElementsAre(1, 2, 3));
    EXPECT_THAT(m_os.Calls(), ElementsAre("Set id_evt_fld"));
}

TEST_F(ChannelSend, FillsTheSlotBeforeItIsLinked) {
    const auto sender = MakeOpen(ipc::kSends);
    std::vector<std::int32_t> usedDuringWrite = {7};

    EXPECT_TRUE(sender->Send([&](Slot&) { usedDuringWrite = UsedNodes(); }, false, 0));

    EXPECT_THAT(usedDuringWrite, IsEmpty());
    EXPECT_THAT(UsedNodes(), ElementsAre(0));
}

TEST_F(ChannelSend, PublishesTheSlotAsItIsWithoutAWriter) {
    const auto sender = MakeOpen(ipc::kSends);
    SetWord(kSlotsOffset, 99);

    EXPECT_TRUE(sender->Send(nullptr, false, 0));

    EXPECT_EQ(Word(kSlotsOffset), 99);
    EXPECT_THAT(UsedNodes(), ElementsAre(0));
}

TEST_F(ChannelSend, PutsTheMessageIntoTheLastSlotToo) {
    const auto sender = MakeOpen(ipc::kSends);

    Fill(*sender);

    EXPECT_EQ(Word(kSlotsOffset + 3 * 8), 3);
    EXPECT_THAT(UsedNodes(), ElementsAre(0, 1, 2, 3));
    EXPECT_THAT(FreeNodes(), IsEmpty());
}

TEST_F(ChannelSend, GivesUpAfterItsTimeOutWhenAllSlotsAreUsed) {
    const auto sender = MakeOpen(ipc::kSends);
    Fill(*sender);
    const auto before = Bytes();
    bool wrote = false;
    const auto start = std::chrono::steady_clock::now();

    EXPECT_FALSE(sender->Send([&](Slot&) { wrote = true; }, false, 500));

    const auto took = std::chrono::steady_clock::now() - start;
    EXPECT_GE(took, std::chrono::milliseconds(500));
    EXPECT_LT(took, std::chrono::seconds(30));
    EXPECT_FALSE(wrote);
    EXPECT_EQ(Bytes(), before);
}

TEST_F(ChannelSend, WaitsOnceWithItsTimeOutAndKeepsTheWaitCount) {
    const auto sender = MakeOpen(ipc::kSends);
    Fill(*sender);
    m_os.ForgetCalls();

    EXPECT_FALSE(SendValue(*sender, 5, false, 0));

    EXPECT_THAT(m_os.Calls(), ElementsAre("Wait id_evt_avl 0"));
    EXPECT_EQ(sender->WaitCount(), 1u);
    EXPECT_FALSE(SendValue(*sender, 5, false, 0));
    EXPECT_EQ(sender->WaitCount(), 2u);
}

TEST_F(ChannelSend, WaitsTheWholeTimeOutAgainAfterEachStraySignal) {
    const auto sender = MakeOpen(ipc::kSends);
    Fill(*sender);
    m_os.ForgetCalls();
    m_os.ScriptWaits(kAvail, {WaitResult::Signalled, WaitResult::Signalled, WaitResult::TimedOut});

    EXPECT_FALSE(SendValue(*sender, 5, false, 500));

    EXPECT_THAT(m_os.Calls(), ElementsAre("Wait id_evt_avl 500", "Wait id_evt_avl 500", "Wait id_evt_avl 500"));
    EXPECT_EQ(sender->WaitCount(), 3u);
}

TEST_F(ChannelSend, GoesOnWithTheSlotThatCameFreeAndForgetsTheWaitCount) {
    const auto sender = MakeOpen(ipc::kSends);
    const auto receiver = MakeOpen(ipc::kReceives);
    Fill(*sender);
    m_os.OnWait(kAvail, [&] { EXPECT_EQ(ReceiveValue(*receiver), 0); });

    EXPECT_TRUE(SendValue(*sender, 5, false, 500));

    EXPECT_THAT(UsedNodes(), ElementsAre(1, 2, 3, 0));
    EXPECT_EQ(Word(kSlotsOffset), 5);
    EXPECT_EQ(sender->WaitCount(), 0u);
}

TEST_F(ChannelSend, GivesUpWhenAWaitFails) {
    const auto sender = MakeOpen(ipc::kSends);
    Fill(*sender);
    m_os.ScriptWaits(kAvail, {WaitResult::Failed});

    EXPECT_FALSE(SendValue(*sender, 5, false, 500));

    EXPECT_EQ(sender->WaitCount(), 1u);
}

TEST_F(ChannelSend, GoesRoundAfterAFailedWaitWhenItHasNoTimeLimit) {
    const auto sender = MakeOpen(ipc::kSends);
    const auto receiver = MakeOpen(ipc::kReceives);
    Fill(*sender);
    m_os.ForgetCalls();
    m_os.ScriptWaits(kAvail, {WaitResult::Failed, WaitResult::TimedOut});
    int waits = 0;
    m_os.OnWait(kAvail, [&] {
        if (++waits == 2) {
            EXPECT_EQ(ReceiveValue(*receiver), 0);
        }
    });

    EXPECT_TRUE(SendValue(*sender, 5, false, platform::kNoTimeLimit));

    EXPECT_EQ(waits, 2);
    EXPECT_THAT(UsedNodes(), ElementsAre(1, 2, 3, 0));
}

TEST_F(ChannelSend, TakesASlotThatIsFreeWithoutLookingAtTheEvent) {
    const auto sender = MakeOpen(ipc::kSends);
    m_os.ForgetCalls();

    EXPECT_TRUE(SendValue(*sender, 1, false, platform::kNoTimeLimit));

    EXPECT_THAT(m_os.Calls(), ElementsAre("Set id_evt_fld"));
}

TEST_F(ChannelSend, ReusesTheOldestMessageWhenItMayOverwrite) {
    const auto sender = MakeOpen(ipc::kSends);
    const auto receiver = MakeOpen(ipc::kReceives);
    Fill(*sender);

    EXPECT_TRUE(SendValue(*sender, 5, true));

    EXPECT_THAT(UsedNodes(), ElementsAre(1, 2, 3, 0));
    EXPECT_EQ(ReceiveValue(*receiver), 1);
    EXPECT_EQ(ReceiveValue(*receiver), 2);
    EXPECT_EQ(ReceiveValue(*receiver), 3);
    EXPECT_EQ(ReceiveValue(*receiver), 5);
    EXPECT_EQ(ReceiveValue(*receiver), std::nullopt);
}

TEST_F(ChannelSend, PrefersAFreeSlotWhenItMayOverwrite) {
    const auto sender = MakeOpen(ipc::kSends);
    for (std::int32_t i = 0; i < 3; ++i)
        ASSERT_TRUE(SendValue(*sender, i));

    EXPECT_TRUE(SendValue(*sender, 3, true));

    EXPECT_THAT(UsedNodes(), ElementsAre(0, 1, 2, 3));
}

TEST_F(ChannelSend, WaitsWhenItMayOverwriteAndThereIsNothing) {
    const auto sender = MakeOpen(ipc::kSends);
    SetWord(0, -1);  // no free nodes, and none used
    SetWord(4, -1);

    EXPECT_FALSE(SendValue(*sender, 5, true, 0));

    EXPECT_EQ(sender->WaitCount(), 1u);
}

TEST_F(ChannelSend, NeverTakesASlotOnAChannelThatReceives) {
    const auto receiver = MakeOpen(ipc::kReceives);
    const auto before = Bytes();
    m_os.ForgetCalls();

    EXPECT_FALSE(SendValue(*receiver, 5, true, 3));

    EXPECT_EQ(Bytes(), before);
    EXPECT_THAT(m_os.Calls(), ElementsAre("Wait id_evt_avl 3"));
}

class UnknownRole : public ChannelTest, public testing::WithParamInterface<std::int32_t> {};
INSTANTIATE_TEST_SUITE_P(Channel, UnknownRole, testing::Values(-1, 2, 0x7FFFFFFF));

TEST_P(UnknownRole, NeitherSendsNorReceives) {
    const auto sender = MakeOpen(ipc::kSends);
    ASSERT_TRUE(SendValue(*sender, 42));
    const auto neither = MakeOpen(GetParam());
    const auto before = Bytes();
    m_os.ForgetCalls();

    EXPECT_FALSE(SendValue(*neither, 5, true, 3));
    EXPECT_EQ(ReceiveValue(*neither, 3), std::nullopt);

    EXPECT_EQ(Bytes(), before);
    EXPECT_THAT(m_os.Calls(), ElementsAre("Wait id_evt_avl 3"));  // only Send waits, for a slot that never comes
}

TEST_F(ChannelSend, FailsAtOnceOnAChannelThatWasNeverOpened) {
    const auto sender = Make(ipc::kSends);

    EXPECT_FALSE(SendValue(*sender, 5, false, 500));

    EXPECT_EQ(sender->WaitCount(), 1u);
    EXPECT_THAT(m_os.Calls(), IsEmpty());
}

TEST_F(ChannelSend, FailsOnAClosedChannelAndForgetsTheWaitCount) {
    const auto sender = MakeOpen(ipc::kSends);
    Fill(*sender);
    ASSERT_FALSE(SendValue(*sender, 5));
    ASSERT_EQ(sender->WaitCount(), 1u);
    sender->Close();
    m_os.ForgetCalls();

    EXPECT_FALSE(SendValue(*sender, 5, false, platform::kNoTimeLimit));

    EXPECT_EQ(sender->WaitCount(), 0u);
    EXPECT_THAT(m_os.Calls(), IsEmpty());
}

TEST_F(ChannelSend, FailsOnAWokenChannelAlthoughASlotIsFree) {
    const auto sender = MakeOpen(ipc::kSends);
    sender->Wake();

    EXPECT_FALSE(SendValue(*sender, 5));

    EXPECT_THAT(UsedNodes(), IsEmpty());
}

TEST_F(ChannelSend, SeesThatItWasClosedDuringItsWaitBeforeItLooksForASlot) {
    const auto sender = MakeOpen(ipc::kSends);
    const auto receiver = MakeOpen(ipc::kReceives);
    Fill(*sender);
    m_os.OnWait(kAvail, [&] {
        EXPECT_EQ(ReceiveValue(*receiver), 0);  // a slot is free now, but it comes too late
        sender->Wake();
    });

    EXPECT_FALSE(SendValue(*sender, 5, false, 500));

    EXPECT_THAT(UsedNodes(), ElementsAre(1, 2, 3));
    EXPECT_EQ(sender->WaitCount(), 0u);
}

TEST_F(ChannelSend, KeepsTheWaitCountWhenItTimesOutOnAChannelClosedMeanwhile) {
    const auto sender = MakeOpen(ipc::kSends);
    Fill(*sender);
    m_os.ScriptWaits(kAvail, {WaitResult::TimedOut});
    m_os.OnWait(kAvail, [&] { sender->Wake(); });

    EXPECT_FALSE(SendValue(*sender, 5, false, 500));

    EXPECT_EQ(sender->WaitCount(), 1u);
}

TEST_F(ChannelSend, StartsTheWaitCountAgainAtItsLimit) {
    const auto sender = MakeOpen(ipc::kSends);
    Fill(*sender);
    m_os.StopRecording();
    for (int i = 0; i < 500000; ++i)
        (void)SendValue(*sender, 5);
    ASSERT_EQ(sender->WaitCount(), 500000u);

    (void)SendValue(*sender, 5);

    EXPECT_EQ(sender->WaitCount(), 1u);
}

TEST_F(ChannelSend, LosesNothingButTheMessageWhenAWriterThrows) {
    auto sender = MakeOpen(ipc::kSends);

    EXPECT_THROW((void)sender->Send([](Slot&) { throw 1; }, false, 0), int);

    EXPECT_TRUE(SendValue(*sender, 5));
    sender.reset();  // the one that threw is not counted as inside any more
    EXPECT_EQ(m_os.LiveObjects(), 0);
}

TEST_F(ChannelSend, SendsWhatThePeerGaveBackInTurn) {
    const auto sender = MakeOpen(ipc::kSends);
    const auto receiver = MakeOpen(ipc::kReceives);
    std::vector<std::int32_t> slots;

    for (std::int32_t i = 0; i < 9; ++i) {
        ASSERT_TRUE(SendValue(*sender, i));
        slots.push_back(UsedNodes().front());
        ASSERT_EQ(ReceiveValue(*receiver), i);
    }

    EXPECT_THAT(slots, ElementsAre(0, 1, 2, 3, 0, 1, 2, 3, 0));  // slots come back to the tail of the free list
}

}  // namespace
