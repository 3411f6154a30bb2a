#include "velmo_parent/channel_snapshot.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

namespace velmo_parent {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::int32_t kCount = 4;
constexpr ipc::ChannelLayout kLayout = ipc::LayoutOf(kCount, 8, 4);

class Snapshot : public testing::Test {
 protected:
    Snapshot() {
        SetEnds({0, 3, -1, -1});
        for (std::int32_t i = 0; i < kCount; ++i)
            SetNode(i, i + 1 < kCount ? i + 1 : -1, i);
    }

    // free head, free tail, used head, used tail
    void SetEnds(const std::array<std::int32_t, 4>& ends) {
        const std::array<std::size_t, 4> offsets{0, 4, 12, 16};
        for (std::size_t i = 0; i < ends.size(); ++i)
            Put(offsets[i], ends[i]);
    }
    void SetNode(std::int32_t node, std::int32_t next, std::int32_t slot) {
        const std::size_t at = 24 + 12 * static_cast<std::size_t>(node);
        Put(at, next);
        Put(at + 8, slot);
    }
    void Put(std::size_t offset, std::int32_t value) { std::memcpy(m_bytes.data() + offset, &value, sizeof value); }

    ChannelSnapshot Take() const { return TakeSnapshot(m_bytes, kLayout); }

    alignas(8) std::array<std::byte, 104> m_bytes{};
};
static_assert(kLayout.mappingSize == 104);

TEST_F(Snapshot, ShowsAFreshChannel) {
    const ChannelSnapshot snapshot = Take();
    EXPECT_TRUE(snapshot.initialised);
    EXPECT_THAT(snapshot.free.nodes, ElementsAre(0, 1, 2, 3));
    EXPECT_THAT(snapshot.used.nodes, IsEmpty());
    EXPECT_EQ(snapshot.free.shape, ListShape::Whole);
    EXPECT_EQ(snapshot.used.shape, ListShape::Whole);
    EXPECT_THAT(snapshot.inHand, IsEmpty());
    EXPECT_THAT(snapshot.inBoth, IsEmpty());
    EXPECT_THAT(snapshot.misnumbered, IsEmpty());
}

TEST_F(Snapshot, ShowsBothListsInTheirOrderAndWhatIsInHand) {
    SetEnds({3, 3, 2, 0});
    SetNode(2, 0, 2);
    SetNode(0, -1, 0);
    const ChannelSnapshot snapshot = Take();
    EXPECT_THAT(snapshot.free.nodes, ElementsAre(3));
    EXPECT_THAT(snapshot.used.nodes, ElementsAre(2, 0));
    EXPECT_THAT(snapshot.inHand, ElementsAre(1));
}

TEST_F(Snapshot, ShowsThatNobodyHasInitialised) {
    m_bytes = {};
    EXPECT_FALSE(Take().initialised);
}

TEST_F(Snapshot, IsInitialisedWhenBothListsAreEmpty) {
    SetEnds({-1, -1, -1, -1});
    const ChannelSnapshot snapshot = Take();
    EXPECT_TRUE(snapshot.initialised);
    EXPECT_THAT(snapshot.inHand, ElementsAre(0, 1, 2, 3));
}

TEST_F(Snapshot, ShowsARing) {
    SetNode(3, 1, 3);
    const ChannelSnapshot snapshot = Take();
    EXPECT_EQ(snapshot.free.shape, ListShape::Ring);
    EXPECT_THAT(snapshot.free.nodes, ElementsAre(0, 1, 2, 3));
}

TEST_F(Snapshot, ShowsALinkOutOfRange) {
    for (const std::int32_t next : {kCount, -2, std::int32_t{0x7FFFFFFF}, std::int32_t{-0x7FFFFFFF - 1}}) {
        SetNode(1, next, 1);
        const ChannelSnapshot snapshot = Take();
        EXPECT_EQ(snapshot.free.shape, ListShape::OutOfRange) << next;
        EXPECT_THAT(snapshot.free.nodes, ElementsAre(0, 1));
        EXPECT_THAT(snapshot.inHand, ElementsAre(2, 3));
    }
}

TEST_F(Snapshot, ShowsATailThatIsNotTheLastNode) {
    SetEnds({0, 1, -1, 2});
    const ChannelSnapshot snapshot = Take();
    EXPECT_EQ(snapshot.free.shape, ListShape::Changing);
    EXPECT_EQ(snapshot.used.shape, ListShape::Changing);
}

TEST_F(Snapshot, ShowsANodeInBothLists) {
    SetEnds({0, 3, 2, 3});
    EXPECT_THAT(Take().inBoth, ElementsAre(2, 3));
}

TEST_F(Snapshot, ShowsANodeWithAnotherSlotsNumber) {
    SetNode(2, 3, 0);
    EXPECT_THAT(Take().misnumbered, ElementsAre(2));
}

TEST_F(Snapshot, DescribesEveryShape) {
    EXPECT_EQ(DescribeShape(ListShape::Whole), "whole");
    EXPECT_NE(DescribeShape(ListShape::Ring), DescribeShape(ListShape::OutOfRange));
    EXPECT_NE(DescribeShape(ListShape::Changing), DescribeShape(ListShape::Whole));
}

TEST_F(Snapshot, FindsTheSlotOfANode) {
    const std::span<const std::byte> bytes(m_bytes);
    EXPECT_EQ(SlotIn(bytes, kLayout, 0).data(), m_bytes.data() + 72);
    EXPECT_EQ(SlotIn(bytes, kLayout, 3).data(), m_bytes.data() + 96);
    EXPECT_EQ(SlotIn(bytes, kLayout, 3).size(), 8U);
}

}  // namespace
}  // namespace velmo_parent
