#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <string>

#include "byte_image.h"
#include "ipc/channels.h"
#include "support/fake_kernel_objects.h"
#include "support/recording_streams.h"

using namespace calyr_ipc;

namespace {

// A mapping as a peer makes it that knows nothing of our types: all nodes free, or the first `queued` of them used.
ByteImage PeerMapping(std::uint32_t slots, std::size_t bytes, std::uint32_t queued) {
    constexpr std::uint32_t kNone = 0xFFFFFFFF;
    ByteImage image(bytes);
    image.Put32(0, queued < slots ? queued : kNone).Put32(4, queued < slots ? slots - 1 : kNone).Put32(8, 0);
    image.Put32(12, queued > 0 ? 0 : kNone).Put32(16, queued > 0 ? queued - 1 : kNone).Put32(20, 0);
    for (std::uint32_t i = 0; i < slots; ++i) {
        const bool isLast = i + 1 == slots || i + 1 == queued;
        image.Put32(24 + 12 * i, isLast ? kNone : i + 1).Put32(28 + 12 * i, i - 1).Put32(32 + 12 * i, i);
    }
    return image;
}

class ChannelBytes : public testing::Test {
 protected:
    // The peer comes first: its mapping, byte by byte. It must be held while it is used.
    std::unique_ptr<platform::NamedMapping> Offer(const std::string& name, const ByteImage& image) {
        auto mapping = m_os.CreateMapping(name, static_cast<std::uint32_t>(image.Bytes().size()));
        std::memcpy(mapping->Map(image.Bytes().size()), image.Bytes().data(), image.Bytes().size());
        return mapping;
    }

    template <class Channel>
    void Attach(Channel& channel, const std::string& name) {
        m_os.ForgetCalls();
        ASSERT_TRUE(channel.Open(name));
        for (const std::string& call : m_os.Calls())
            ASSERT_FALSE(call.starts_with("CreateMapping")) << call;
    }

    ByteImage Image(const std::string& name, std::size_t bytes) {
        ByteImage image(bytes);
        for (std::size_t i = 0; i < bytes; ++i) {
            image.Put8(i, std::to_integer<std::uint8_t>(m_os.Memory(name)[i]));
        }
        return image;
    }

    support::FakeKernelObjects m_os;
    support::RecordingStreams m_streams;
};

TEST_F(ChannelBytes, CommandsOfThePeerAreReadSlotBySlot) {
    ByteImage image = PeerMapping(32, 99608, 3);
    image.Put32(408 + 12, 2).PutText(408 + 24, "C:\\m").Put8(408 + 28, 0).Put8(408 + 3096, 0);
    image.Put8(3508 + 3096, 3);
    image.Put8(6608 + 3096, 2);
    const auto peer = Offer("idC_shm", image);
    CommandChannel channel(ipc::kReceives, m_os, m_streams);
    Attach(channel, "idC");
    std::string seen;

    for (int i = 0; i < 4; ++i) {
        channel.Receive(
            [&](const CommandSlot& slot) {
                const std::int8_t index = RequireAlternative(slot);
                seen += std::to_string(index) + " ";
                if (index == 0) {
                    EXPECT_EQ(slot.As<IpcCommandInit>().deviceType, 2);
                    EXPECT_STREQ(slot.As<IpcCommandInit>().modelPath, "C:\\m");
                }
            },
            0);
    }

    EXPECT_EQ(seen, "0 3 2 ");
}

TEST_F(ChannelBytes, ACommandInTheLastSlotIsReadThere) {
    ByteImage image = PeerMapping(32, 99608, 32);
    for (std::size_t i = 0; i < 32; ++i)
        image.Put8(408 + 3100 * i + 3096, i == 31 ? 2 : 1);
    const auto peer = Offer("idC_shm", image);
    CommandChannel channel(ipc::kReceives, m_os, m_streams);
    Attach(channel, "idC");
    int last = -1;

    for (int i = 0; i < 32; ++i)
        channel.Receive([&](const CommandSlot& slot) { last = slot.index; }, 0);

    EXPECT_EQ(last, 2);
}

TEST_F(ChannelBytes, EventsAreWrittenSlotBySlot) {
    const ByteImage before = PeerMapping(32, 1048, 0);
    const auto peer = Offer("idE_shm", before);
    EventChannel channel(ipc::kSends, m_os, m_streams);
    Attach(channel, "idE");

    ASSERT_TRUE(channel.Send(
        [](EventSlot& slot) {
            slot.As<IpcEventOnInit>() = {{1, 0}, 4660, 3};
            slot.index = 0;
        },
        false, 0));
    ASSERT_TRUE(channel.Send([](EventSlot& slot) { slot.index = 1; }, false, 0));

    ByteImage expected = before;
    expected.Put32(0, 2).Put32(12, 0).Put32(16, 1);  // two nodes moved from the free list to the used list
    expected.Put32(24, 1).Put32(28, 0xFFFFFFFF);     // node 0, linked to node 1
    expected.Put32(36, 0xFFFFFFFF).Put32(40, 0);     // node 1, the last
    expected.Put64(408, 1).Put32(416, 4660).Put32(420, 3).Put8(424, 0);
    expected.Put8(444, 1);
    EXPECT_EQ(Image("idE_shm", 1048), expected);
}

TEST_F(ChannelBytes, LogChunksAreWrittenSlotBySlot) {
    const ByteImage before = PeerMapping(30, 15744, 29);
    const auto peer = Offer("idL_shm", before);
    LogChannel channel(ipc::kSends, m_os, m_streams);
    Attach(channel, "idL");

    ASSERT_TRUE(channel.Send(
        [](IpcLogChunk& chunk) {
            chunk.flags = 3;
            chunk.length = 5;
            chunk.payload[0] = 2;
        },
        false, 0));

    ByteImage expected = before;
    expected.Put32(0, 0xFFFFFFFF).Put32(4, 0xFFFFFFFF).Put32(16, 29);  // the free list is empty
    expected.Put32(24 + 28 * 12, 29);                                  // linked behind node 28
    expected.Put32(24 + 29 * 12, 0xFFFFFFFF).Put32(28 + 29 * 12, 28);
    expected.Put8(384 + 29 * 512, 3).Put32(384 + 29 * 512 + 4, 5).Put8(384 + 29 * 512 + 8, 2);
    EXPECT_EQ(Image("idL_shm", 15744), expected);
}

TEST_F(ChannelBytes, FramesOfThePeerAreReadInPlace) {
    ByteImage image = PeerMapping(5, 3456328, 2);
    image.Put32(88 + 4, 111).Put8(88 + 691240, 0);
    image.Put32(691336 + 4, 222).Put8(691336 + 691240, 0).Put32(691336 + 691212, 640);
    const auto peer = Offer("idFI_shm", image);
    InputChannel channel(ipc::kReceives, m_os, m_streams);
    Attach(channel, "idFI");
    const std::byte* place = nullptr;
    std::uint32_t size = 0;
    std::uint32_t width = 0;

    for (int i = 0; i < 2; ++i) {
        channel.Receive(
            [&](const InputSlot& slot) {
                place = slot.storage;
                size = slot.As<RvoCalyrIpcInput>().dataSize;
                width = slot.As<RvoCalyrIpcInput>().header.width;
            },
            0);
    }

    EXPECT_EQ(place, m_os.Memory("idFI_shm") + 691336);
    EXPECT_EQ(size, 222u);
    EXPECT_EQ(width, 640u);
}

TEST_F(ChannelBytes, ResultsAreWrittenInTheLastSlotToo) {
    const auto peer = Offer("idFO_shm", PeerMapping(5, 7455088, 4));
    OutputChannel channel(ipc::kSends, m_os, m_streams);
    Attach(channel, "idFO");

    ASSERT_TRUE(channel.Send(
        [](OutputSlot& slot) {
            slot.As<RvoCalyrIpcOutput>().motion = 0x01020304;
            slot.index = 1;
        },
        false, 0));

    const ByteImage image = Image("idFO_shm", 7455088);
    EXPECT_EQ(image.Get32(88 + 4 * 1491000 + 1059344), 0x01020304u);
    EXPECT_EQ(image[88 + 4 * 1491000 + 1490992], 1);
    EXPECT_EQ(image[7455087], 0xCC);  // padding
}

TEST_F(ChannelBytes, ANewMappingHasTheSizeThatThePeerExpects) {
    CommandChannel command(ipc::kReceives, m_os, m_streams);
    InputChannel input(ipc::kReceives, m_os, m_streams);
    EventChannel event(ipc::kSends, m_os, m_streams);
    OutputChannel output(ipc::kSends, m_os, m_streams);
    LogChannel log(ipc::kSends, m_os, m_streams);
    ASSERT_TRUE(command.Open(std::string("id") + kCommandSuffix));
    ASSERT_TRUE(input.Open(std::string("id") + kInputSuffix));
    ASSERT_TRUE(event.Open(std::string("id") + kEventSuffix));
    ASSERT_TRUE(output.Open(std::string("id") + kOutputSuffix));
    ASSERT_TRUE(log.Open(std::string("id") + kLogSuffix));

    std::string made;
    for (const std::string& call : m_os.Calls()) {
        if (call.starts_with("CreateMapping")) made += call.substr(14) + "\n";
    }
    EXPECT_EQ(made, "idC_shm 99608\nidFI_shm 3456328\nidE_shm 1048\nidFO_shm 7455088\nidL_shm 15744\n");
}

}  // namespace
