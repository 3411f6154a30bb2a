#include "host/log_chunks.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace rvo_calyr {
namespace {

struct Sent {
    int flags;
    std::uint32_t length;
    std::string payload;  // the bytes that count
};

// Cuts a line as the sink does, and writes each chunk into a slot that held something before.
std::vector<Sent> Cut(std::uint32_t level, const std::string& prefix, const std::string& text) {
    std::vector<Sent> sent;
    ForEachLogChunk(level, prefix, text, [&](const LogChunk& chunk) {
        calyr_ipc::IpcLogChunk slot;
        std::memset(&slot, 0xEE, sizeof(slot));
        chunk.WriteTo(slot);
        ASSERT_LE(slot.length, 503U);
        for (std::size_t i = slot.length; i < sizeof(slot.payload); ++i)
            ASSERT_EQ(slot.payload[i], 0xEE) << i;
        sent.push_back({slot.flags, slot.length, std::string(slot.payload, slot.payload + slot.length)});
    });
    return sent;
}

const std::string kPrefix = "[17:4711] ";  // 10 bytes

std::string LevelBytes(char level) {
    return std::string{level, '\0', '\0', '\0'};
}

TEST(LogChunks, CarryLevelAndPrefixOfAnEmptyText) {
    const std::vector<Sent> sent = Cut(2, kPrefix, "");

    ASSERT_EQ(sent.size(), 1U);
    EXPECT_EQ(sent[0].flags, 3);
    EXPECT_EQ(sent[0].payload, LevelBytes(2) + kPrefix);
}

TEST(LogChunks, KeepALineOf499BytesInOne) {
    const std::string text(489, 'x');
    const std::vector<Sent> sent = Cut(0, kPrefix, text);

    ASSERT_EQ(sent.size(), 1U);
    EXPECT_EQ(sent[0].flags, 3);
    EXPECT_EQ(sent[0].length, 503U);
    EXPECT_EQ(sent[0].payload, LevelBytes(0) + kPrefix + text);
}

TEST(LogChunks, CutALineOf500BytesBehindIts499th) {
    const std::string text = std::string(489, 'x') + "y";
    const std::vector<Sent> sent = Cut(1, kPrefix, text);

    ASSERT_EQ(sent.size(), 2U);
    EXPECT_EQ(sent[0].flags, 1);
    EXPECT_EQ(sent[0].length, 503U);
    EXPECT_EQ(sent[0].payload, LevelBytes(1) + kPrefix + std::string(489, 'x'));
    EXPECT_EQ(sent[1].flags, 2);
    EXPECT_EQ(sent[1].payload, "y");
}

TEST(LogChunks, PutARestOf503BytesIntoOneLastChunk) {
    const std::vector<Sent> sent = Cut(2, kPrefix, std::string(489 + 503, 'x'));

    ASSERT_EQ(sent.size(), 2U);
    EXPECT_EQ(sent[1].flags, 2);
    EXPECT_EQ(sent[1].length, 503U);
}

TEST(LogChunks, GoOnAfterARestOf504Bytes) {
    const std::vector<Sent> sent = Cut(2, kPrefix, std::string(489 + 503, 'x') + "y");

    ASSERT_EQ(sent.size(), 3U);
    EXPECT_EQ(sent[0].flags, 1);
    EXPECT_EQ(sent[1].flags, 0);
    EXPECT_EQ(sent[1].length, 503U);
    EXPECT_EQ(sent[2].flags, 2);
    EXPECT_EQ(sent[2].payload, "y");
}

TEST(LogChunks, PutTogetherAreTheLine) {
    std::string text;
    for (int i = 0; i < 5000; ++i)
        text += static_cast<char>('a' + i % 26);

    std::string together;
    for (const Sent& sent : Cut(2, kPrefix, text))
        together += sent.payload;

    EXPECT_EQ(together, LevelBytes(2) + kPrefix + text);
}

}  // namespace
}  // namespace rvo_calyr
