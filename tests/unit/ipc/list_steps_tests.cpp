#include "ipc/list_steps.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <utility>
#include <vector>

using ipc::End;
using ipc::kNoNode;
using ipc::List;
using testing::ElementsAre;

namespace {

// The shared words of a list of three nodes, with a diary of every touch. Before touch number `m_interfereAt` it lets
// another party do something.
class DiaryWords {
 public:
    std::int32_t NodeCount() const { return 3; }

    std::int32_t Load(List list, End end) { return Touch("load " + NameOf(list, end)), EndOf(list, end); }
    void Store(List list, End end, std::int32_t value) {
        Touch("store " + NameOf(list, end) + " " + std::to_string(value));
        EndOf(list, end) = value;
    }
    std::int32_t Exchange(List list, End end, std::int32_t value) {
        Touch("exchange " + NameOf(list, end) + " " + std::to_string(value));
        return std::exchange(EndOf(list, end), value);
    }
    bool CompareAndSwap(List list, End end, std::int32_t expected, std::int32_t desired) {
        Touch("swap " + NameOf(list, end) + " " + std::to_string(expected) + " to " + std::to_string(desired));
        if (EndOf(list, end) != expected) return false;
        EndOf(list, end) = desired;
        return true;
    }
    void StoreBusy(List list, std::uint8_t value) {
        Touch("store " + NameOf(list) + ".busy " + std::to_string(value));
        m_busy[list == List::Used] = value;
    }
    std::uint8_t ExchangeBusy(List list, std::uint8_t value) {
        Touch("exchange " + NameOf(list) + ".busy " + std::to_string(value));
        return std::exchange(m_busy[list == List::Used], value);
    }
    std::int32_t LoadNext(std::int32_t index) { return Touch("load next " + std::to_string(index)), m_next[At(index)]; }
    void StoreNext(std::int32_t index, std::int32_t value) { Note("next", m_next, index, value); }
    void StorePrev(std::int32_t index, std::int32_t value) { Note("prev", m_prev, index, value); }
    void StoreSlot(std::int32_t index, std::int32_t value) { Note("slot", m_slot, index, value); }

    std::int32_t& EndOf(List list, End end) { return m_ends[list == List::Used][end == End::Tail]; }

    std::array<std::array<std::int32_t, 2>, 2> m_ends{{{0, 2}, {-1, -1}}};
    std::array<std::uint8_t, 2> m_busy{1, 1};
    std::array<std::int32_t, 3> m_next{1, 2, -1};
    std::array<std::int32_t, 3> m_prev{-1, 0, 1};
    std::array<std::int32_t, 3> m_slot{0, 1, 2};
    std::vector<std::string> m_diary;
    std::size_t m_interfereAt = 1000;
    std::function<void()> m_interfere;

 private:
    static std::string NameOf(List list) { return list == List::Free ? "free" : "used"; }
    static std::string NameOf(List list, End end) { return NameOf(list) + (end == End::Head ? ".head" : ".tail"); }
    static std::size_t At(std::int32_t index) { return static_cast<std::size_t>(index); }
    void Note(const char* word, std::array<std::int32_t, 3>& words, std::int32_t index, std::int32_t value) {
        Touch(std::string("store ") + word + " " + std::to_string(index) + " " + std::to_string(value));
        words.at(At(index)) = value;
    }
    void Touch(std::string what) {
        if (m_diary.size() == m_interfereAt) m_interfere();
        m_diary.push_back(std::move(what));
    }
};

TEST(Pop, TakesTheFirstOfSeveralNodesStepByStep) {
    DiaryWords words;

    EXPECT_EQ(ipc::pop(words, List::Free), 0);

    EXPECT_THAT(words.m_diary, ElementsAre("load used.head", "load free.head", "swap free.tail 0 to -1", "load next 0",
                                           "swap free.head 0 to 1", "exchange free.busy 0"));
    EXPECT_EQ(words.EndOf(List::Free, End::Head), 1);
    EXPECT_EQ(words.EndOf(List::Free, End::Tail), 2);
    EXPECT_EQ(words.m_busy[0], 0);
    EXPECT_EQ(words.m_busy[1], 1);
}

// A maker that is at work while this side looks: its first word to this side is that the other list's head is not 0 any
// more, and the head of this list that was read before that is still a zero of nobody's.
TEST(Pop, TakesNothingFromAMappingThatIsInitialisedUnderItsEyes) {
    DiaryWords words;
    words.m_ends[0] = {0, 0};
    words.m_ends[1] = {0, 0};
    words.m_interfereAt = 1;
    words.m_interfere = [&] {  // the maker finishes, takes node 0, fills it, and is about to give it: tail before head
        words.m_ends[0] = {1, 2};
        words.m_ends[1] = {kNoNode, 0};
    };

    EXPECT_EQ(ipc::pop(words, List::Used), kNoNode);

    EXPECT_EQ(words.EndOf(List::Used, End::Head), kNoNode);
    EXPECT_EQ(words.EndOf(List::Used, End::Tail), 0);
}

TEST(Pop, TakesTheOnlyNodeAndEmptiesBothEnds) {
    DiaryWords words;
    words.m_ends[0] = {2, 2};

    EXPECT_EQ(ipc::pop(words, List::Free), 2);

    EXPECT_EQ(words.EndOf(List::Free, End::Head), kNoNode);
    EXPECT_EQ(words.EndOf(List::Free, End::Tail), kNoNode);
}

TEST(Pop, OfAnEmptyListClearsTheBusyByteAndTouchesNothingElse) {
    DiaryWords words;

    EXPECT_EQ(ipc::pop(words, List::Used), kNoNode);

    EXPECT_THAT(words.m_diary, ElementsAre("load free.head", "load used.head", "store used.busy 0"));
    EXPECT_EQ(words.m_busy[1], 0);
}

TEST(Pop, ReportsNoNodeWhenTheHeadMovedMeanwhile) {
    DiaryWords words;
    words.m_interfereAt = 4;
    words.m_interfere = [&] { words.m_ends[0][0] = 1; };

    EXPECT_EQ(ipc::pop(words, List::Free), kNoNode);

    EXPECT_EQ(words.m_diary.back(), "exchange free.busy 0");
    EXPECT_EQ(words.EndOf(List::Free, End::Head), 1);  // as the other party left it
}

TEST(Pop, ReadsTheLinkAfterTheTailWasTried) {
    DiaryWords words;
    words.m_ends[0] = {0, 2};
    words.m_interfereAt = 3;
    words.m_interfere = [&] { words.m_next[0] = 2; };

    EXPECT_EQ(ipc::pop(words, List::Free), 0);

    EXPECT_EQ(words.EndOf(List::Free, End::Head), 2);
}

TEST(Pop, TakesABadLinkAsTheHead) {
    DiaryWords words;
    words.m_next[0] = 77;

    EXPECT_EQ(ipc::pop(words, List::Free), 0);

    EXPECT_EQ(words.EndOf(List::Free, End::Head), 77);
    EXPECT_EQ(ipc::pop(words, List::Free), kNoNode);
}

TEST(Pop, ReportsNoNodeWhenBothHeadsAreOnOneNode) {
    DiaryWords words;
    words.m_ends[1] = {0, 0};

    EXPECT_EQ(ipc::pop(words, List::Free), kNoNode);

    EXPECT_THAT(words.m_diary, ElementsAre("load used.head", "load free.head", "store free.busy 0"));
}

TEST(Push, OntoAnEmptyListSetsBothEndsStepByStep) {
    DiaryWords words;

    ipc::push(words, List::Used, 1);

    EXPECT_THAT(words.m_diary, ElementsAre("store prev 1 -1", "store next 1 -1", "load used.tail", "store prev 1 -1",
                                           "swap used.head -1 to 1", "swap used.tail -1 to 1", "exchange used.busy 0"));
    EXPECT_EQ(words.EndOf(List::Used, End::Head), 1);
    EXPECT_EQ(words.EndOf(List::Used, End::Tail), 1);
}

TEST(Push, BehindOtherNodesLinksTheOldTailLast) {
    DiaryWords words;
    words.m_ends[1] = {0, 0};
    words.m_next[0] = -1;

    ipc::push(words, List::Used, 2);

    EXPECT_THAT(words.m_diary, ElementsAre("store prev 2 -1", "store next 2 -1", "load used.tail", "store prev 2 0",
                                           "swap used.head -1 to 2", "swap used.tail 0 to 2", "store next 0 2",
                                           "exchange used.busy 0"));
    EXPECT_EQ(words.EndOf(List::Used, End::Head), 0);
    EXPECT_EQ(words.EndOf(List::Used, End::Tail), 2);
    EXPECT_EQ(words.m_prev[2], 0);
}

TEST(Push, LinksNothingWhenTheTailMovedMeanwhile) {
    DiaryWords words;
    words.m_ends[1] = {0, 0};
    words.m_next[0] = -1;
    words.m_interfereAt = 5;
    words.m_interfere = [&] { words.m_ends[1][1] = -1; };

    ipc::push(words, List::Used, 2);

    EXPECT_EQ(words.m_next[0], -1);
    EXPECT_EQ(words.EndOf(List::Used, End::Tail), -1);  // as the other party left it
    EXPECT_EQ(words.m_diary.back(), "exchange used.busy 0");
}

TEST(Push, ReplacesABadTailWithoutFollowingIt) {
    for (const std::int32_t bad : {3, 1000000, -2}) {
        DiaryWords words;
        words.m_ends[1] = {0, bad};

        ipc::push(words, List::Used, 2);  // the diary's arrays throw at an index outside

        EXPECT_EQ(words.EndOf(List::Used, End::Tail), 2);
    }
}

TEST(InitialiseLists, WritesNodesFirstAndThenTheEndsInOrder) {
    DiaryWords words;
    words.m_ends = {{{9, 9}, {9, 9}}};

    ipc::InitialiseLists(words);

    EXPECT_THAT(words.m_diary,
                ElementsAre("store next 0 1", "store prev 0 -1", "store slot 0 0", "store next 1 2", "store prev 1 0",
                            "store slot 1 1", "store next 2 3", "store prev 2 1", "store slot 2 2", "store next 2 -1",
                            "exchange free.head 0", "exchange free.tail 2", "exchange free.busy 0",
                            "exchange used.head -1", "exchange used.tail -1", "exchange used.busy 0"));
}

// AtomicWords over words written by hand: each operation reaches the word that it names.
TEST(AtomicWords, ReachesEveryWordAtItsPlace) {
    ipc::channel_header header{10, 11, 12, {}, 13, 14, 15, {}};
    std::array<ipc::channel_node, 2> nodes{{{20, 21, 22}, {30, 31, 32}}};
    ipc::AtomicWords words(header, nodes);

    EXPECT_EQ(words.NodeCount(), 2);
    EXPECT_EQ(words.Load(List::Free, End::Head), 10);
    EXPECT_EQ(words.Load(List::Free, End::Tail), 11);
    EXPECT_EQ(words.Load(List::Used, End::Head), 13);
    EXPECT_EQ(words.Load(List::Used, End::Tail), 14);
    EXPECT_EQ(words.ExchangeBusy(List::Free, 1), 12);
    EXPECT_EQ(words.ExchangeBusy(List::Used, 2), 15);
    words.StoreBusy(List::Used, 3);
    EXPECT_EQ(header.free_busy, 1);
    EXPECT_EQ(header.used_busy, 3);
    words.Store(List::Used, End::Tail, 5);
    EXPECT_EQ(header.used_tail, 5);
    EXPECT_EQ(words.Exchange(List::Free, End::Tail, 6), 11);
    EXPECT_EQ(header.free_tail, 6);
    EXPECT_FALSE(words.CompareAndSwap(List::Free, End::Head, 9, 7));
    EXPECT_EQ(header.free_head, 10);
    EXPECT_TRUE(words.CompareAndSwap(List::Free, End::Head, 10, 7));
    EXPECT_EQ(header.free_head, 7);
    EXPECT_EQ(words.LoadNext(1), 30);
    words.StoreNext(1, 40);
    words.StorePrev(1, 41);
    words.StoreSlot(1, 42);
    EXPECT_EQ(nodes[1].next, 40);
    EXPECT_EQ(nodes[1].prev, 41);
    EXPECT_EQ(nodes[1].slot, 42);
}

TEST(ChannelLayout, PadsBehindTheNodesOnlyWhereTheSlotsNeedIt) {
    EXPECT_EQ(ipc::LayoutOf(5, 16, 8).slots_offset, 88u);
    EXPECT_EQ(ipc::LayoutOf(4, 16, 8).slots_offset, 72u);
    EXPECT_EQ(ipc::LayoutOf(5, 16, 4).slots_offset, 84u);
    EXPECT_EQ(ipc::LayoutOf(5, 16, 4).mappingSize, 164u);
}

}  // namespace
