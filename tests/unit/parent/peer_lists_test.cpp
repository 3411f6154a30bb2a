#include "velmo_parent/peer_lists.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <vector>

#include "ipc/channel_layout.h"
#include "ipc/list_steps.h"

namespace velmo_parent {
namespace {

using ipc::End;
using ipc::kNoNode;
using ipc::List;
using testing::ElementsAre;

constexpr std::int32_t kCount = 4;

class PeerLists : public testing::Test {
 protected:
    // Leaves message nodes on the used list, as a sender by the fixed steps does.
    void SendByFixedSteps(int count) {
        for (int i = 0; i < count; ++i)
            ipc::push(m_words, List::Used, ipc::pop(m_words, List::Free));
    }
    std::vector<std::int32_t> Walk(List list) {
        std::vector<std::int32_t> nodes;
        for (std::int32_t node = m_words.Load(list, End::Head); node != kNoNode && nodes.size() < kCount;
             node = m_words.LoadNext(node)) {
            nodes.push_back(node);
        }
        return nodes;
    }

    ipc::channel_header m_header{};
    std::array<ipc::channel_node, kCount> m_nodes{};
    ipc::AtomicWords m_words{m_header, m_nodes};
};

class MadePeerLists : public PeerLists {
 protected:
    MadePeerLists() { MakeLists(m_words); }
};

TEST_F(PeerLists, AreMadeAsTheFixedStepsMakeThem) {
    MakeLists(m_words);
    ipc::channel_header header{};
    std::array<ipc::channel_node, kCount> nodes{};
    ipc::AtomicWords fixed(header, nodes);
    ipc::InitialiseLists(fixed);

    for (const List list : {List::Free, List::Used}) {
        for (const End end : {End::Head, End::Tail})
            EXPECT_EQ(m_words.Load(list, end), fixed.Load(list, end));
    }
    for (std::size_t i = 0; i < kCount; ++i) {
        EXPECT_EQ(m_nodes[i].next, nodes[i].next);
        EXPECT_EQ(m_nodes[i].prev, nodes[i].prev);
        EXPECT_EQ(m_nodes[i].slot, nodes[i].slot);
    }
}

TEST_F(PeerLists, FindNothingInAMappingThatNobodyHasInitialised) {
    ReceiverLists<kCount> receiver;
    SenderLists<kCount> sender;

    EXPECT_EQ(receiver.TakeNext(m_words), kNoNode);
    EXPECT_EQ(sender.TakeFree(m_words), kNoNode);
    EXPECT_FALSE(receiver.Damaged());
    EXPECT_FALSE(sender.Damaged());
}

TEST_F(MadePeerLists, DeliverTheNewestAtOnceAndLeaveItInItsList) {
    ReceiverLists<kCount> receiver;
    SendByFixedSteps(1);

    EXPECT_EQ(receiver.TakeNext(m_words), 0);
    EXPECT_EQ(receiver.TakeNext(m_words), kNoNode);
    EXPECT_THAT(Walk(List::Used), ElementsAre(0));
}

TEST_F(MadePeerLists, UnlinkAMessageWhenANewerOneStandsBehindIt) {
    ReceiverLists<kCount> receiver;
    SendByFixedSteps(2);

    EXPECT_EQ(receiver.TakeNext(m_words), 0);
    EXPECT_EQ(receiver.TakeNext(m_words), 1);
    EXPECT_THAT(Walk(List::Used), ElementsAre(1));
    EXPECT_EQ(receiver.Aside().Count(), 1);
}

TEST_F(MadePeerLists, GiveBackOnlyWhenTheSenderHasUsedUpItsFreeNodes) {
    ReceiverLists<kCount> receiver;
    SendByFixedSteps(3);
    while (receiver.TakeNext(m_words) != kNoNode) {
    }

    EXPECT_FALSE(receiver.GiveBack(m_words));
    SendByFixedSteps(1);
    EXPECT_TRUE(receiver.GiveBack(m_words));

    EXPECT_THAT(Walk(List::Free), ElementsAre(0, 1));
    EXPECT_EQ(m_words.Load(List::Free, End::Tail), 1);
    EXPECT_TRUE(receiver.Aside().Empty());
}

// The sender takes its last free node: the tail is gone already, the head not yet.
TEST_F(MadePeerLists, GiveNothingOntoAListWhoseHeadStandsThoughItsTailIsGone) {
    ReceiverLists<kCount> receiver;
    SendByFixedSteps(3);
    while (receiver.TakeNext(m_words) != kNoNode) {
    }
    m_words.Store(List::Free, End::Tail, kNoNode);

    EXPECT_FALSE(receiver.GiveBack(m_words));
    m_words.Store(List::Free, End::Head, kNoNode);
    EXPECT_TRUE(receiver.GiveBack(m_words));
}

TEST_F(MadePeerLists, NeverTakeTheLastFreeNode) {
    SenderLists<kCount> sender;
    for (std::int32_t i = 0; i < kCount - 1; ++i) {
        EXPECT_EQ(sender.TakeFree(m_words), i);
        sender.Keep();
    }

    EXPECT_EQ(sender.TakeFree(m_words), kNoNode);
    EXPECT_FALSE(sender.Damaged());
    EXPECT_THAT(Walk(List::Free), ElementsAre(kCount - 1));
}

TEST_F(MadePeerLists, TakeTheNodeInHandAgainAndNoSecondOne) {
    SenderLists<kCount> sender;
    EXPECT_EQ(sender.TakeFree(m_words), 0);
    EXPECT_EQ(sender.TakeFree(m_words), 0);
    EXPECT_EQ(sender.InHand(), 0);
    EXPECT_THAT(Walk(List::Free), ElementsAre(1, 2, 3));
}

TEST_F(MadePeerLists, GiveAllKeptMessagesAsOneChainInOrder) {
    SenderLists<kCount> sender;
    for (int i = 0; i < 3; ++i) {
        (void)sender.TakeFree(m_words);
        sender.Keep();
    }

    EXPECT_TRUE(sender.GiveFilled(m_words));
    EXPECT_THAT(Walk(List::Used), ElementsAre(0, 1, 2));
    EXPECT_EQ(m_words.Load(List::Used, End::Tail), 2);
    EXPECT_EQ(m_nodes[1].prev, 0);
}

TEST_F(MadePeerLists, KeepMessagesUntilTheReceiverHasTakenTheEarlierOnes) {
    SenderLists<kCount> sender;
    (void)sender.TakeFree(m_words);
    sender.Keep();
    EXPECT_TRUE(sender.GiveFilled(m_words));
    (void)sender.TakeFree(m_words);
    sender.Keep();

    EXPECT_FALSE(sender.GiveFilled(m_words));
    EXPECT_EQ(ipc::pop(m_words, List::Used), 0);
    EXPECT_TRUE(sender.GiveFilled(m_words));
    EXPECT_THAT(Walk(List::Used), ElementsAre(1));
}

TEST_F(MadePeerLists, GiveNothingWhenThereIsNothingToGive) {
    SenderLists<kCount> sender;
    EXPECT_FALSE(sender.GiveFilled(m_words));
    EXPECT_EQ(m_words.Load(List::Used, End::Head), kNoNode);
}

class DamagedHead : public MadePeerLists, public testing::WithParamInterface<std::int32_t> {};
INSTANTIATE_TEST_SUITE_P(PeerLists, DamagedHead, testing::Values(-2, kCount, 0x7FFFFFFF, std::int32_t{-0x7FFFFFFF}));

TEST_P(DamagedHead, IsNoNode) {
    ReceiverLists<kCount> receiver;
    SenderLists<kCount> sender;
    m_words.Store(List::Used, End::Head, GetParam());
    m_words.Store(List::Free, End::Head, GetParam());

    EXPECT_EQ(receiver.TakeNext(m_words), kNoNode);
    EXPECT_EQ(sender.TakeFree(m_words), kNoNode);
}

class DamagedLink : public MadePeerLists, public testing::WithParamInterface<std::int32_t> {};
INSTANTIATE_TEST_SUITE_P(PeerLists, DamagedLink, testing::Values(-2, 0, kCount, 0x7FFFFFFF));  // 0 is the node itself

TEST_P(DamagedLink, IsNotFollowedByAReceiver) {
    ReceiverLists<kCount> receiver;
    SendByFixedSteps(1);
    (void)receiver.TakeNext(m_words);
    m_words.StoreNext(0, GetParam());

    EXPECT_EQ(receiver.TakeNext(m_words), kNoNode);
    EXPECT_TRUE(receiver.Damaged());
    EXPECT_FALSE(receiver.GiveBack(m_words));
}

TEST_P(DamagedLink, IsNotFollowedByASender) {
    SenderLists<kCount> sender;
    m_words.StoreNext(0, GetParam());

    EXPECT_EQ(sender.TakeFree(m_words), kNoNode);
    EXPECT_TRUE(sender.Damaged());
}

TEST_F(MadePeerLists, DoNotFollowARingForMoreThanOneRound) {
    ReceiverLists<kCount> receiver;
    SendByFixedSteps(3);
    m_words.StoreNext(2, 0);
    int delivered = 0;
    while (receiver.TakeNext(m_words) != kNoNode)
        ++delivered;

    EXPECT_EQ(delivered, 3);
    EXPECT_TRUE(receiver.Damaged());
}

TEST_F(MadePeerLists, NoticeAHeadThatSomebodyElseHasMoved) {
    ReceiverLists<kCount> receiver;
    SendByFixedSteps(2);
    (void)receiver.TakeNext(m_words);
    m_words.Store(List::Used, End::Head, 1);

    EXPECT_EQ(receiver.TakeNext(m_words), kNoNode);
    EXPECT_TRUE(receiver.Damaged());
}

TEST_F(MadePeerLists, DoNotTakeANodeThatIsKeptAlready) {
    SenderLists<kCount> sender;
    (void)sender.TakeFree(m_words);
    sender.Keep();
    m_words.StoreNext(1, 0);

    EXPECT_EQ(sender.TakeFree(m_words), kNoNode);
    EXPECT_TRUE(sender.Damaged());
}

}  // namespace
}  // namespace velmo_parent
