#include <thread>

#include "channel_fixture.h"

namespace {

class ChannelThreads : public ChannelTest {};

// One message is under way at a time: the next is sent when the last one's receipt has come back on a second channel.
// Two parties that both follow the plain list steps never meet on a list then, so nothing may be lost.
TEST_F(ChannelThreads, EveryMessageArrivesOnceAndInOrderWhenReceiptsAreAwaited) {
    constexpr std::int32_t kMessages = 2000;
    Channel requestsOut(ipc::kSends, m_os, m_streams);
    Channel requestsIn(ipc::kReceives, m_os, m_streams);
    Channel receiptsOut(ipc::kSends, m_os, m_streams);
    Channel receiptsIn(ipc::kReceives, m_os, m_streams);
    ASSERT_TRUE(requestsOut.Open("rq") && requestsIn.Open("rq") && receiptsOut.Open("rc") && receiptsIn.Open("rc"));
    m_os.StopRecording();

    std::thread peer([&] {
        for (std::int32_t i = 0; i < kMessages; ++i) {
            std::optional<Slot> seen;
            while (!seen)
                requestsIn.Receive([&](const Slot& slot) { seen = slot; }, 1000);
            EXPECT_EQ(seen->value, i);
            EXPECT_EQ(seen->copy, i);
            ASSERT_TRUE(SendValue(receiptsOut, -i, false, platform::kNoTimeLimit));
        }
    });
    for (std::int32_t i = 0; i < kMessages; ++i) {
        ASSERT_TRUE(SendValue(requestsOut, i, false, platform::kNoTimeLimit));
        std::optional<std::int32_t> receipt;
        while (!receipt)
            receipt = ReceiveValue(receiptsIn, 1000);
        ASSERT_EQ(receipt, -i);
    }
    peer.join();
}

TEST_F(ChannelThreads, ABlockedReceiveTakesTheMessageAsSoonAsItIsSent) {
    const auto sender = MakeOpen(ipc::kSends);
    const auto receiver = MakeOpen(ipc::kReceives);
    std::optional<std::int32_t> seen;
    std::thread blocked([&] { seen = ReceiveValue(*receiver, platform::kNoTimeLimit); });
    ASSERT_TRUE(m_os.AwaitWaiters("id_evt_fld"));

    ASSERT_TRUE(SendValue(*sender, 42));

    blocked.join();
    EXPECT_EQ(seen, 42);
}

TEST_F(ChannelThreads, ABlockedSendTakesTheSlotAsSoonAsItIsFree) {
    const auto sender = MakeOpen(ipc::kSends);
    const auto receiver = MakeOpen(ipc::kReceives);
    for (std::int32_t i = 0; i < 4; ++i)
        ASSERT_TRUE(SendValue(*sender, i));
    bool sent = false;
    std::thread blocked([&] { sent = SendValue(*sender, 4, false, platform::kNoTimeLimit); });
    ASSERT_TRUE(m_os.AwaitWaiters("id_evt_avl"));

    ASSERT_EQ(ReceiveValue(*receiver), 0);

    blocked.join();
    EXPECT_TRUE(sent);
    for (std::int32_t i = 1; i <= 4; ++i)
        EXPECT_EQ(ReceiveValue(*receiver), i);
}

}  // namespace
