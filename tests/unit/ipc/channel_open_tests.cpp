#include <algorithm>

#include "channel_fixture.h"

using support::Call;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class ChannelOpen : public ChannelTest {};

TEST_F(ChannelOpen, MakesEventsAndMappingInOrderWhenThereIsNothing) {
    const auto channel = Make(ipc::kReceives);

    EXPECT_TRUE(channel->Open("id"));

    EXPECT_THAT(m_os.Calls(), ElementsAre("CreateOrOpenEvent id_evt_avl", "CreateOrOpenEvent id_evt_fld",
                                          "OpenMapping id_shm", "CreateMapping id_shm 104", "Map id_shm 104"));
    EXPECT_EQ(m_streams.Output(), "2");
    EXPECT_EQ(m_streams.Error(), "");
}

TEST_F(ChannelOpen, AttachesInOrderWhenThePeerCameFirst) {
    const auto peer = MakeOpen(ipc::kSends);
    const std::string output = m_streams.Output();
    m_os.ForgetCalls();
    const auto channel = Make(ipc::kReceives);

    EXPECT_TRUE(channel->Open("id"));

    EXPECT_THAT(m_os.Calls(), ElementsAre("CreateOrOpenEvent id_evt_avl", "CreateOrOpenEvent id_evt_fld",
                                          "OpenMapping id_shm", "Map id_shm 104"));
    EXPECT_EQ(m_streams.Output(), output);
}

TEST_F(ChannelOpen, InitialisesTheListsOfANewMapping) {
    const auto channel = MakeOpen(ipc::kReceives);

    EXPECT_EQ(Word(0), 0);    // free_head
    EXPECT_EQ(Word(4), 3);    // free_tail
    EXPECT_EQ(Word(8), 0);    // free_busy
    EXPECT_EQ(Word(12), -1);  // used_head
    EXPECT_EQ(Word(16), -1);  // used_tail
    EXPECT_EQ(Word(20), 0);   // used_busy
    const std::int32_t nodes[4][3] = {{1, -1, 0}, {2, 0, 1}, {3, 1, 2}, {-1, 2, 3}};
    EXPECT_EQ(std::memcmp(m_os.Memory("id_shm") + 24, nodes, sizeof nodes), 0);
    for (std::size_t offset = kSlotsOffset; offset < kMappingBytes; offset += 4)
        EXPECT_EQ(Word(offset), 0);
}

TEST_F(ChannelOpen, TouchesNothingInAMappingThatItAttachesTo) {
    const auto peer = MakeOpen(ipc::kSends);
    ASSERT_TRUE(SendValue(*peer, 11));
    SetWord(8, 0x01020304);  // busy byte and padding, as some peer may leave them
    const auto before = Bytes();

    const auto channel = MakeOpen(ipc::kReceives);

    EXPECT_EQ(Bytes(), before);
}

TEST_F(ChannelOpen, SeesMessagesThatWereQueuedBefore) {
    const auto peer = MakeOpen(ipc::kSends);
    ASSERT_TRUE(SendValue(*peer, 11));
    ASSERT_TRUE(SendValue(*peer, 12));

    const auto channel = MakeOpen(ipc::kReceives);

    EXPECT_EQ(ReceiveValue(*channel), 11);
    EXPECT_EQ(ReceiveValue(*channel), 12);
    EXPECT_EQ(ReceiveValue(*channel), std::nullopt);
}

TEST_F(ChannelOpen, WritesTheErrorNumberOfAFailedOpenAsASignedDecimal) {
    m_os.FailNext(Call::OpenMapping, 0xFFFFFFFF);
    const auto channel = Make(ipc::kReceives);

    EXPECT_TRUE(channel->Open("id"));

    EXPECT_EQ(m_streams.Output(), "-1");
}

TEST_F(ChannelOpen, WipesAMappingThatExistsButCannotBeOpened) {
    const auto peer = MakeOpen(ipc::kSends);
    ASSERT_TRUE(SendValue(*peer, 11));
    m_os.FailNext(Call::OpenMapping, support::kAccessDenied);
    const auto channel = Make(ipc::kReceives);

    EXPECT_TRUE(channel->Open("id"));

    EXPECT_THAT(FreeNodes(), ElementsAre(0, 1, 2, 3));
    EXPECT_THAT(UsedNodes(), IsEmpty());
    EXPECT_EQ(Word(kSlotsOffset), 0);  // the message is gone, too
}

TEST_F(ChannelOpen, MakesAndWipesTheMappingWhenTheOneThatItOpenedCannotBeMapped) {
    const auto peer = MakeOpen(ipc::kSends);
    ASSERT_TRUE(SendValue(*peer, 11));
    m_os.ForgetCalls();
    m_os.FailNext(Call::Map, support::kNotEnoughMemory);
    const auto channel = Make(ipc::kReceives);

    EXPECT_TRUE(channel->Open("id"));

    EXPECT_THAT(m_os.Calls(),
                ElementsAre("CreateOrOpenEvent id_evt_avl", "CreateOrOpenEvent id_evt_fld", "OpenMapping id_shm",
                            "Map id_shm 104", "CloseMapping id_shm", "CreateMapping id_shm 104", "Map id_shm 104"));
    EXPECT_THAT(UsedNodes(), IsEmpty());
}

TEST_F(ChannelOpen, FailsWithNothingToSignalWhenTheFirstEventCannotBeMade) {
    m_os.FailNext(Call::CreateOrOpenEvent, support::kNotEnoughMemory);
    const auto channel = Make(ipc::kSends);

    EXPECT_FALSE(channel->Open("id"));

    EXPECT_THAT(m_os.Calls(), ElementsAre("CreateOrOpenEvent id_evt_avl"));
    EXPECT_EQ(m_os.LiveObjects(), 0);
    EXPECT_EQ(m_streams.Output(), "");
}

TEST_F(ChannelOpen, SignalsAndClosesTheFirstEventWhenTheSecondCannotBeMade) {
    m_os.FailNext(Call::CreateOrOpenEvent, support::kNotEnoughMemory, 1);
    const auto channel = Make(ipc::kSends);

    EXPECT_FALSE(channel->Open("id"));

    EXPECT_THAT(m_os.Calls(), ElementsAre("CreateOrOpenEvent id_evt_avl", "CreateOrOpenEvent id_evt_fld",
                                          "Set id_evt_avl", "CloseEvent id_evt_avl"));
    EXPECT_EQ(m_os.LiveObjects(), 0);
}

TEST_F(ChannelOpen, SignalsAndClosesBothEventsWhenNoMappingCanBeMade) {
    m_os.FailNext(Call::CreateMapping, support::kNotEnoughMemory);
    const auto channel = Make(ipc::kSends);

    EXPECT_FALSE(channel->Open("id"));

    EXPECT_THAT(m_os.Calls(), ElementsAre("CreateOrOpenEvent id_evt_avl", "CreateOrOpenEvent id_evt_fld",
                                          "OpenMapping id_shm", "CreateMapping id_shm 104", "Set id_evt_fld",
                                          "Set id_evt_avl", "CloseEvent id_evt_fld", "CloseEvent id_evt_avl"));
    EXPECT_EQ(m_os.LiveObjects(), 0);
}

TEST_F(ChannelOpen, ClosesEverythingWhenTheMappingThatItMadeCannotBeMapped) {
    m_os.FailNext(Call::Map, support::kNotEnoughMemory);
    const auto channel = Make(ipc::kSends);

    EXPECT_FALSE(channel->Open("id"));

    EXPECT_THAT(m_os.Calls(),
                ElementsAre("CreateOrOpenEvent id_evt_avl", "CreateOrOpenEvent id_evt_fld", "OpenMapping id_shm",
                            "CreateMapping id_shm 104", "Map id_shm 104", "Set id_evt_fld", "Set id_evt_avl",
                            "CloseEvent id_evt_fld", "CloseEvent id_evt_avl", "CloseMapping id_shm"));
    EXPECT_EQ(m_os.LiveObjects(), 0);
}

TEST_F(ChannelOpen, FailsOnAMappingOfThatNameThatIsTooSmall) {
    using LargeChannel = ipc::channel<Slot, 512>;  // does not fit the one page of the other's mapping
    const auto other = MakeOpen(ipc::kSends);
    const auto before = Bytes();
    LargeChannel channel(ipc::kReceives, m_os, m_streams);

    EXPECT_FALSE(channel.Open("id"));

    EXPECT_EQ(Bytes(), before);
    EXPECT_EQ(m_os.LiveObjects(), 3);  // those of the other
}

TEST_F(ChannelOpen, SignalsNothingMoreWhenAFailedChannelIsDestroyed) {
    m_os.FailNext(Call::CreateMapping, support::kNotEnoughMemory);
    auto channel = Make(ipc::kSends);
    ASSERT_FALSE(channel->Open("id"));
    m_os.ForgetCalls();

    channel.reset();

    EXPECT_THAT(m_os.Calls(), IsEmpty());
}

TEST_F(ChannelOpen, LeavesAClosedChannelClosed) {
    const auto channel = MakeOpen(ipc::kSends);
    channel->Close();
    m_os.ForgetCalls();

    EXPECT_FALSE(channel->Open("id"));

    EXPECT_THAT(m_os.Calls(), IsEmpty());
}

TEST_F(ChannelOpen, OfAnOpenChannelClosesEachEventBeforeItsSuccessorIsMade) {
    const auto channel = MakeOpen(ipc::kSends);
    m_os.ForgetCalls();

    EXPECT_TRUE(channel->Open("id"));

    EXPECT_THAT(m_os.Calls(), ElementsAre("CloseEvent id_evt_avl", "CreateOrOpenEvent id_evt_avl",
                                          "CloseEvent id_evt_fld", "CreateOrOpenEvent id_evt_fld", "OpenMapping id_shm",
                                          "Map id_shm 104", "Unmap id_shm", "CloseMapping id_shm"));
    EXPECT_EQ(m_os.LiveObjects(), 3);
}

TEST_F(ChannelOpen, OfAnOpenChannelKeepsWhatIsQueuedUnderTheSameName) {
    const auto channel = MakeOpen(ipc::kReceives);
    const auto peer = MakeOpen(ipc::kSends);
    ASSERT_TRUE(SendValue(*peer, 11));
    ASSERT_TRUE(peer->Open("id"));
    ASSERT_TRUE(SendValue(*peer, 12));

    EXPECT_TRUE(channel->Open("id"));

    EXPECT_EQ(ReceiveValue(*channel), 11);
    EXPECT_EQ(ReceiveValue(*channel), 12);
}

TEST_F(ChannelOpen, OfAnOpenChannelUnderAnotherNameLetsGoOfTheFirst) {
    const auto channel = MakeOpen(ipc::kSends);

    EXPECT_TRUE(channel->Open("other"));

    EXPECT_EQ(m_os.LiveObjects(), 3);
    EXPECT_EQ(m_os.Memory("id_shm"), nullptr);
    EXPECT_TRUE(SendValue(*channel, 11));
    EXPECT_TRUE(m_os.IsSet("other_evt_fld"));
}

TEST_F(ChannelOpen, OfAnOpenChannelClosesEverythingOnceWhenNoMappingCanBeHad) {
    auto channel = MakeOpen(ipc::kSends);
    m_os.ForgetCalls();
    m_os.FailNext(Call::OpenMapping, support::kAccessDenied);
    m_os.FailNext(Call::CreateMapping, support::kNotEnoughMemory);

    EXPECT_FALSE(channel->Open("id"));

    EXPECT_EQ(m_os.LiveObjects(), 0);
    EXPECT_FALSE(SendValue(*channel, 11));
    channel.reset();
    const auto calls = m_os.Calls();
    for (const char* call : {"Set id_evt_fld", "Set id_evt_avl", "Unmap id_shm", "CloseMapping id_shm"})
        EXPECT_EQ(std::count(calls.begin(), calls.end(), call), 1) << call;
}

TEST_F(ChannelOpen, OfAnOpenChannelClosesEverythingWhenAnEventCannotBeHad) {
    for (int spared = 0; spared < 2; ++spared) {
        const auto channel = MakeOpen(ipc::kSends);
        m_os.FailNext(Call::CreateOrOpenEvent, support::kNotEnoughMemory, spared);

        EXPECT_FALSE(channel->Open("id"));

        EXPECT_EQ(m_os.LiveObjects(), 0);
    }
}

TEST_F(ChannelOpen, CutsNamesTo1023Bytes) {
    const auto fits = Make(ipc::kReceives);
    EXPECT_FALSE(fits->Open(std::string(1015, 'n')));  // 1023 with the suffix; the system refuses it, not the channel
    const auto cut = Make(ipc::kReceives);
    EXPECT_FALSE(cut->Open(std::string(1016, 'n')));
    const auto allCut = Make(ipc::kReceives);
    EXPECT_FALSE(allCut->Open(std::string(5000, 'n')));

    EXPECT_THAT(m_os.Calls(), ElementsAre("CreateOrOpenEvent " + std::string(1015, 'n') + "_evt_avl",
                                          "CreateOrOpenEvent " + std::string(1016, 'n') + "_evt_av",
                                          "CreateOrOpenEvent " + std::string(1023, 'n')));
}

TEST_F(ChannelOpen, EndsANameAtItsFirstNul) {
    const auto channel = Make(ipc::kReceives);

    EXPECT_TRUE(channel->Open(std::string("id\0rest", 7)));

    EXPECT_NE(m_os.Memory("id_shm"), nullptr);
}

TEST_F(ChannelOpen, WorksOnTheBareSuffixesWhenTheNameIsEmpty) {
    const auto channel = Make(ipc::kReceives);

    EXPECT_TRUE(channel->Open(""));

    EXPECT_NE(m_os.Memory("_shm"), nullptr);
}

TEST_F(ChannelOpen, TakesBlanksAndPercentSignsAsTheyStand) {
    const auto channel = Make(ipc::kReceives);

    EXPECT_TRUE(channel->Open("a %s b"));

    EXPECT_NE(m_os.Memory("a %s b_shm"), nullptr);
}

}  // namespace
