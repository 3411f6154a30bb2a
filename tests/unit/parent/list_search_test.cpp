#include <gtest/gtest.h>

#include <cstdint>
#include <iostream>
#include <ostream>

#include "ipc/channel_layout.h"
#include "ipc/list_steps.h"
#include "list_explorer.h"
#include "list_parties.h"

// Every interleaving of a sender and a receiver, for small channels and a few messages. docs/channel-lists.md holds the
// figures that these tests print and pin.
namespace list_search {

// For GoogleTest and for the figures in the docs.
std::ostream& operator<<(std::ostream& out, const Figures& figures) {
    return out << figures.states << " states, " << figures.steps << " steps; " << figures.badStates << " bad ("
               << figures.nodeLost << " with a node lost, " << figures.nodeDoubled << " with a node doubled, "
               << figures.wrongMessage << " after a wrong message); " << figures.stuck << " stuck, " << figures.hopeless
               << " without a way to the end, " << figures.complete << " complete";
}

namespace {

// A sanitizer makes each state dear; the smaller cases go through the same code.
#ifdef VELMOML_SANITIZED
constexpr std::int32_t kMostForFixedSteps = 4;
#else
constexpr std::int32_t kMostForFixedSteps = 5;
#endif

template <std::int32_t N>
Shared<N> FreshChannel() {
    Shared<N> shared;
    AccessLog log;
    for (bool over = false; !over;) {
        SteppedWords<N> words(shared, log);
        ipc::InitialiseLists(words);
        over = words.TurnIsOver();
    }
    return shared;
}

template <std::int32_t N, template <std::int32_t> class Sender, template <std::int32_t> class Receiver>
Figures Explore(std::int32_t messages, const char* what) {
    typename Search<Sender<N>, Receiver<N>, N>::State start{};
    start.shared = FreshChannel<N>();
    start.sender.local.total = messages;
    start.receiver.local.total = messages;
    const Figures figures = Search<Sender<N>, Receiver<N>, N>::Run(start);
    std::cout << what << ", N " << N << ", " << messages << " messages: " << figures << "\n";
    return figures;
}

// The same from a mapping of zeros, which one of the two initialises while the other is there already.
template <std::int32_t N, template <std::int32_t> class Sender, template <std::int32_t> class Receiver>
Figures ExploreMaking(std::int32_t messages, Make bySender, Make byReceiver, const char* what) {
    typename Search<Sender<N>, Receiver<N>, N>::State start{};
    start.sender.local.total = messages;
    start.sender.local.make = bySender;
    if (bySender != Make::Nothing) start.sender.local.phase = Sender<N>::Phase::Make;
    start.receiver.local.total = messages;
    start.receiver.local.make = byReceiver;
    if (byReceiver != Make::Nothing) start.receiver.local.phase = Receiver<N>::Phase::Make;
    if constexpr (requires { start.sender.local.wakesByTime; }) start.sender.local.wakesByTime = true;
    const Figures figures = Search<Sender<N>, Receiver<N>, N>::Run(start);
    std::cout << what << ", N " << N << ", " << messages << " messages: " << figures << "\n";
    return figures;
}

void ExpectWhole(const Figures& figures) {
    EXPECT_EQ(figures.nodeLost, 0U);
    EXPECT_EQ(figures.nodeDoubled, 0U);
    EXPECT_EQ(figures.wrongMessage, 0U);
    EXPECT_EQ(figures.stuck, 0U);
    EXPECT_EQ(figures.hopeless, 0U);
    EXPECT_GT(figures.complete, 0U);
}

// Our ends with one rule broken each, so that it shows what the rule is for and that the search would see it.
template <std::int32_t N>
struct TakesTheTail : velmo_parent::ReceiverLists<N> {
    velmo_parent::NodeQueue<N> aside;
    bool isReading = false;  // the newest of them

    template <class Words>
    std::int32_t TakeNext(Words& words) {
        const std::int32_t node = ipc::pop(words, ipc::List::Used);
        isReading = node != ipc::kNoNode;
        if (isReading) (void)aside.Append(node);
        return node;
    }
    template <class Words>
    bool GiveBack(Words& words) {
        velmo_parent::NodeQueue<N> read;
        for (std::int32_t i = 0; i < aside.Count() - (isReading ? 1 : 0); ++i)
            (void)read.Append(aside[i]);
        if (!velmo_parent::GiveChain(words, ipc::List::Free, read)) return false;
        const std::int32_t newest = aside[aside.Count() - 1];
        aside.Clear();
        if (isReading) (void)aside.Append(newest);
        return true;
    }
    const velmo_parent::NodeQueue<N>& Aside() const { return aside; }
};
template <std::int32_t N>
using TailTakingReceiver = PeerReceiver<N, TakesTheTail<N>>;

template <std::int32_t N>
struct GivesToAFilledList : velmo_parent::SenderLists<N> {
    template <class Words>
    bool GiveFilled(Words& words) {
        if (this->Aside().Empty()) return false;
        ipc::push(words, ipc::List::Used, this->Aside()[0]);
        *static_cast<velmo_parent::SenderLists<N>*>(this) = {};  // one message at a time is in hand here
        return true;
    }
};
template <std::int32_t N>
using AppendingSender = PeerSender<N, GivesToAFilledList<N>>;

template <std::int32_t N>
struct WritesTheHeadFirst : velmo_parent::SenderLists<N> {
    template <class Words>
    bool GiveFilled(Words& words) {
        if (this->Aside().Empty() || words.Load(ipc::List::Used, ipc::End::Head) != ipc::kNoNode) return false;
        const std::int32_t node = this->Aside()[0];
        words.StoreNext(node, ipc::kNoNode);
        words.Store(ipc::List::Used, ipc::End::Head, node);
        words.Store(ipc::List::Used, ipc::End::Tail, node);
        *static_cast<velmo_parent::SenderLists<N>*>(this) = {};
        return true;
    }
};
template <std::int32_t N>
using HeadFirstSender = PeerSender<N, WritesTheHeadFirst<N>>;

template <std::int32_t N>
using OurSender = PeerSender<N>;
template <std::int32_t N>
using OurReceiver = PeerReceiver<N>;

template <std::int32_t N>
void ExpectWholeFromOurSender() {
    for (std::int32_t messages = 1; messages <= 6; ++messages) {
        SCOPED_TRACE(messages);
        ExpectWhole(Explore<N, OurSender, FixedReceiver>(messages, "our sender, fixed receiver"));
    }
}

template <std::int32_t N>
void ExpectWholeToOurReceiver() {
    for (std::int32_t messages = 1; messages <= 6; ++messages) {
        SCOPED_TRACE(messages);
        ExpectWhole(Explore<N, FixedSender, OurReceiver>(messages, "fixed sender, our receiver"));
    }
}

TEST(ListSearch, FindsNoLossFromOurSenderToTheFixedSteps) {
    ExpectWholeFromOurSender<2>();
    ExpectWholeFromOurSender<3>();
    ExpectWholeFromOurSender<5>();
}

TEST(ListSearch, FindsNoLossFromTheFixedStepsToOurReceiver) {
    ExpectWholeToOurReceiver<2>();
    ExpectWholeToOurReceiver<3>();
    ExpectWholeToOurReceiver<5>();
}

TEST(ListSearch, FindsNoLossWhenOurEndMakesTheMappingUnderAnAttachedParty) {
    ExpectWhole(ExploreMaking<2, OurSender, FixedReceiver>(3, Make::OurSteps, Make::Nothing, "our sender makes"));
    ExpectWhole(ExploreMaking<3, OurSender, FixedReceiver>(4, Make::OurSteps, Make::Nothing, "our sender makes"));
    ExpectWhole(ExploreMaking<2, FixedSender, OurReceiver>(3, Make::Nothing, Make::OurSteps, "our receiver makes"));
    ExpectWhole(ExploreMaking<3, FixedSender, OurReceiver>(4, Make::Nothing, Make::OurSteps, "our receiver makes"));
}

TEST(ListSearch, FindsNoLossWhenTheOtherPartyMakesTheMappingUnderOurAttachedEnd) {
    ExpectWhole(ExploreMaking<2, OurSender, FixedReceiver>(3, Make::Nothing, Make::FixedSteps, "fixed receiver makes"));
    ExpectWhole(ExploreMaking<3, OurSender, FixedReceiver>(4, Make::Nothing, Make::FixedSteps, "fixed receiver makes"));
    ExpectWhole(ExploreMaking<2, FixedSender, OurReceiver>(3, Make::FixedSteps, Make::Nothing, "fixed sender makes"));
    ExpectWhole(ExploreMaking<3, FixedSender, OurReceiver>(4, Make::FixedSteps, Make::Nothing, "fixed sender makes"));
}

// Why MakeLists has an order of its own: between the used list's head and its tail, a sender that is attached already
// can link its first node to itself.
TEST(ListSearch, ShowsDamageWhenTheFixedOrderOfMakingMeetsAnAttachedSender) {
    const Figures figures =
        ExploreMaking<2, FixedSender, OurReceiver>(3, Make::Nothing, Make::FixedSteps, "our receiver makes wrongly");
    EXPECT_GT(figures.badStates, 0U);
    EXPECT_GT(figures.hopeless, 0U);
}

TEST(ListSearch, ShowsThatEachRuleIsNeeded) {
    EXPECT_GT((Explore<3, FixedSender, TailTakingReceiver>(4, "fixed sender, receiver that takes the tail")).badStates,
              0U);
    EXPECT_GT((Explore<3, AppendingSender, FixedReceiver>(4, "sender that appends, fixed receiver")).badStates, 0U);
    EXPECT_GT(
        (Explore<3, HeadFirstSender, FixedReceiver>(4, "sender that writes the head first, fixed receiver")).badStates,
        0U);
}

// The rules are for one side of a channel: our receiver leaves its last message in the list, and our sender waits for
// an empty one. Nothing is lost then, but the second message never arrives.
TEST(ListSearch, ShowsThatTwoOfOurEndsStandStillAfterOneMessage) {
    const Figures one = Explore<3, OurSender, OurReceiver>(1, "our sender, our receiver");
    const Figures two = Explore<3, OurSender, OurReceiver>(2, "our sender, our receiver");
    EXPECT_GT(one.complete, 0U);
    EXPECT_EQ(two.badStates, 0U);
    EXPECT_EQ(two.complete, 0U);
    EXPECT_GT(two.stuck, 0U);
}

// Without the rules every kind of damage is within reach. Six messages are left out: two million states would show
// nothing new.
TEST(ListSearch, ShowsWhatTheFixedStepsLoseAmongThemselves) {
    for (std::int32_t messages = 2; messages <= kMostForFixedSteps; ++messages) {
        for (const Figures& figures :
             {Explore<2, FixedSender, FixedReceiver>(messages, "fixed sender, fixed receiver"),
              Explore<3, FixedSender, FixedReceiver>(messages, "fixed sender, fixed receiver"),
              Explore<5, FixedSender, FixedReceiver>(messages, "fixed sender, fixed receiver")}) {
            EXPECT_GT(figures.nodeLost, 0U) << messages;
            EXPECT_GT(figures.nodeDoubled, 0U) << messages;
            EXPECT_GT(figures.hopeless, 0U) << messages;
            EXPECT_GT(figures.stuck, 0U) << messages;
            EXPECT_GT(figures.complete, 0U) << messages;
        }
    }
}

}  // namespace
}  // namespace list_search
