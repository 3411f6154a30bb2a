#include <limits>

#include "channel_fixture.h"

using testing::ElementsAre;

namespace {

// A mapping of exactly one page, so that an address sanitizer sees the first byte behind it.
struct PageSlot {
    std::uint8_t bytes[1006];
};
using PageChannel = ipc::channel<PageSlot, 4>;
static_assert(PageChannel::kLayout.mappingSize == support::FakeKernelObjects::kPageBytes);

constexpr std::size_t kFreeHead = 0, kFreeTail = 4, kUsedHead = 12, kUsedTail = 16;

constexpr std::size_t NextOf(std::size_t node) {
    return 24 + 12 * node;
}
constexpr std::size_t SlotWordOf(std::size_t node) {
    return NextOf(node) + 8;
}

class DamagedLists : public ChannelTest {
 protected:
    void SetUp() override {
        ASSERT_TRUE(m_sender.Open("id"));
        ASSERT_TRUE(m_receiver.Open("id"));
    }

    bool Send(std::uint8_t value) {
        return m_sender.Send([value](PageSlot& slot) { std::memset(slot.bytes, value, sizeof slot.bytes); }, false, 0);
    }
    int Receive() {
        int value = -1;
        m_receiver.Receive([&value](const PageSlot& slot) { value = slot.bytes[sizeof slot.bytes - 1]; }, 0);
        return value;
    }

    PageChannel m_sender{ipc::kSends, m_os, m_streams};
    PageChannel m_receiver{ipc::kReceives, m_os, m_streams};
};

class DamagedHead : public DamagedLists, public testing::WithParamInterface<std::int32_t> {};

TEST_P(DamagedHead, OfTheFreeListCountsAsNoNode) {
    SetWord(kFreeHead, GetParam());

    EXPECT_FALSE(Send(1));

    EXPECT_EQ(Word(kFreeHead), GetParam());
}

TEST_P(DamagedHead, OfTheUsedListCountsAsNoNode) {
    SetWord(kUsedHead, GetParam());

    EXPECT_EQ(Receive(), -1);

    EXPECT_EQ(Word(kUsedHead), GetParam());
}

TEST_P(DamagedHead, ComesInByABadLinkAndIsCaughtAtTheNextPass) {
    SetWord(NextOf(0), GetParam());

    EXPECT_TRUE(Send(1));

    EXPECT_EQ(Word(kFreeHead), GetParam());
    EXPECT_FALSE(Send(2));
    EXPECT_EQ(Receive(), 1);
}

TEST_P(DamagedHead, AsATailIsNotFollowed) {
    SetWord(kUsedTail, GetParam());

    EXPECT_TRUE(Send(1));

    EXPECT_EQ(Word(kUsedTail), 0);
    EXPECT_EQ(Receive(), 1);
}

TEST_P(DamagedHead, AsAFreeTailIsNotFollowedByAGivenBackSlot) {
    ASSERT_TRUE(Send(1));
    SetWord(kFreeTail, GetParam());

    EXPECT_EQ(Receive(), 1);

    EXPECT_EQ(Word(kFreeTail), 0);
}

INSTANTIATE_TEST_SUITE_P(OutsideTheNodes, DamagedHead,
                         testing::Values(4, 5, 1 << 20, std::numeric_limits<std::int32_t>::max(), -2, -4096,
                                         std::numeric_limits<std::int32_t>::min()));

TEST_F(DamagedLists, LastNodeIsStillGood) {
    SetWord(kFreeHead, 3);

    EXPECT_TRUE(Send(7));

    EXPECT_EQ(Receive(), 7);
}

TEST_F(DamagedLists, SlotWordOfANodeIsNotUsedAsAnAddress) {
    for (std::size_t node = 0; node < 4; ++node)
        SetWord(SlotWordOf(node), 1 << 24);

    EXPECT_TRUE(Send(7));

    EXPECT_EQ(Receive(), 7);
    EXPECT_EQ(Word(kFreeTail), 0);
}

TEST_F(DamagedLists, MappingThatIsAllZeroHasNoNode) {
    std::memset(m_os.Memory("id_shm"), 0, support::FakeKernelObjects::kPageBytes);

    EXPECT_FALSE(Send(1));
    EXPECT_EQ(Receive(), -1);
}

TEST_F(DamagedLists, MappingFullOfOnesHasNoNode) {
    std::memset(m_os.Memory("id_shm"), 0xFF, support::FakeKernelObjects::kPageBytes);

    EXPECT_FALSE(Send(1));
    EXPECT_EQ(Receive(), -1);
}

TEST_F(DamagedLists, HeadsOnOneNodeGiveNoNode) {
    SetWord(kFreeHead, 2);
    SetWord(kUsedHead, 2);

    EXPECT_FALSE(Send(1));
    EXPECT_EQ(Receive(), -1);
}

TEST_F(DamagedLists, RingGivesOneNodePerPassAndTrapsNobody) {
    SetWord(kUsedHead, 1);
    SetWord(kUsedTail, 2);
    SetWord(NextOf(1), 2);
    SetWord(NextOf(2), 1);
    SetWord(kFreeHead, 3);  // so that the heads differ
    int visits = 0;

    for (int pass = 0; pass < 20; ++pass)
        m_receiver.Receive([&](const PageSlot&) { ++visits; }, 0);

    EXPECT_GE(visits, 1);
    EXPECT_LE(visits, 20);
}

TEST_F(DamagedLists, NodeThatPointsToItselfTrapsNobody) {
    SetWord(NextOf(0), 0);

    for (int pass = 0; pass < 20; ++pass)
        (void)Send(1);
    for (int pass = 0; pass < 20; ++pass)
        (void)Receive();
}

// Whatever the words hold, nothing outside the mapping is touched, and every call ends.
TEST_F(DamagedLists, AnyWordsAtAllTrapNobody) {
    std::uint32_t state = 12345;
    const auto random = [&state] { return state = state * 1664525u + 1013904223u; };
    m_os.StopRecording();
    for (int round = 0; round < 20000; ++round) {
        for (std::size_t offset = 0; offset < 72; offset += 4) {
            const std::uint32_t draw = random() >> 8;
            SetWord(offset,
                    draw % 8 == 0 ? static_cast<std::int32_t>(random()) : static_cast<std::int32_t>(draw % 7) - 2);
        }
        for (int pass = 0; pass < 4; ++pass) {
            (void)Send(1);
            (void)Receive();
        }
    }
}

}  // namespace
