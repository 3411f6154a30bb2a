#include "velmo_parent/log_line_assembler.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>

#include "ipc/records/log_records.h"

namespace velmo_parent {
namespace {

using calyr_ipc::IpcLogChunk;
using testing::HasSubstr;
using testing::IsEmpty;

IpcLogChunk Chunk(std::uint8_t flags, const std::string& payload) {
    IpcLogChunk chunk;
    std::memset(&chunk, '#', sizeof chunk);  // what an earlier message left
    chunk.flags = flags;
    chunk.length = static_cast<std::uint32_t>(payload.size());
    std::memcpy(chunk.payload, payload.data(), payload.size());
    return chunk;
}

std::string WithLevel(std::uint8_t level, const std::string& text) {
    return std::string{static_cast<char>(level), '\0', '\0', '\0'} + text;
}

TEST(LogLineAssembler, ReadsALineOfOneChunk) {
    LogLineAssembler assembler;

    ASSERT_TRUE(assembler.Take(Chunk(3, WithLevel(2, "[17:4242] all is well"))));

    EXPECT_EQ(assembler.Line().level, 2U);
    EXPECT_EQ(assembler.Line().processId, 17U);
    EXPECT_EQ(assembler.Line().threadId, 4242U);
    EXPECT_EQ(assembler.Line().text, "all is well");
    EXPECT_THAT(assembler.Damage(), IsEmpty());
}

TEST(LogLineAssembler, JoinsFirstMiddleAndLastChunk) {
    LogLineAssembler assembler;
    const std::string start(480, 'a');
    const std::string middle(503, 'b');

    EXPECT_FALSE(assembler.Take(Chunk(1, WithLevel(0, "[1:2] " + start))));
    EXPECT_TRUE(assembler.InsideLine());
    EXPECT_FALSE(assembler.Take(Chunk(0, middle)));
    ASSERT_TRUE(assembler.Take(Chunk(2, "c")));

    EXPECT_EQ(assembler.Line().text, start + middle + "c");
    EXPECT_FALSE(assembler.InsideLine());
}

TEST(LogLineAssembler, ReadsAnEmptyText) {
    LogLineAssembler assembler;
    ASSERT_TRUE(assembler.Take(Chunk(3, WithLevel(4, "[1:2] "))));
    EXPECT_EQ(assembler.Line().level, 4U);
    EXPECT_THAT(assembler.Line().text, IsEmpty());
}

TEST(LogLineAssembler, TakesAChunkOfTheGreatestLength) {
    LogLineAssembler assembler;
    const std::string text(503 - 4 - 6, 'x');
    ASSERT_TRUE(assembler.Take(Chunk(3, WithLevel(1, "[1:2] " + text))));
    EXPECT_EQ(assembler.Line().text, text);
}

TEST(LogLineAssembler, TellsOfALengthBeyondThePayloadAndReadsNothingOfIt) {
    LogLineAssembler assembler;
    for (const std::uint32_t length : {504U, 505U, 0xFFFFFFFFU}) {
        IpcLogChunk chunk = Chunk(3, WithLevel(1, "[1:2] x"));
        chunk.length = length;
        EXPECT_FALSE(assembler.Take(chunk));
        EXPECT_THAT(assembler.Damage(), HasSubstr(std::to_string(length)));
    }
}

TEST(LogLineAssembler, TellsOfUnexpectedFlags) {
    LogLineAssembler assembler;
    EXPECT_FALSE(assembler.Take(Chunk(4, WithLevel(1, "[1:2] x"))));
    EXPECT_THAT(assembler.Damage(), HasSubstr("flags 4"));
    EXPECT_FALSE(assembler.Take(Chunk(0x83, WithLevel(1, "[1:2] x"))));
    EXPECT_THAT(assembler.Damage(), HasSubstr("flags 131"));
}

TEST(LogLineAssembler, TellsOfAFirstChunkWithoutRoomForTheLevel) {
    LogLineAssembler assembler;
    EXPECT_FALSE(assembler.Take(Chunk(3, "abc")));
    EXPECT_THAT(assembler.Damage(), HasSubstr("3 bytes"));
    EXPECT_TRUE(assembler.Take(Chunk(3, WithLevel(1, ""))));
}

TEST(LogLineAssembler, TellsOfAChunkThatGoesOnWithNothing) {
    LogLineAssembler assembler;
    EXPECT_FALSE(assembler.Take(Chunk(2, "tail")));
    EXPECT_THAT(assembler.Damage(), HasSubstr("not begun"));
}

TEST(LogLineAssembler, TellsOfALineThatNeverEndedAndStillGivesTheNext) {
    LogLineAssembler assembler;
    EXPECT_FALSE(assembler.Take(Chunk(1, WithLevel(2, "[1:2] lost"))));
    ASSERT_TRUE(assembler.Take(Chunk(3, WithLevel(1, "[1:2] kept"))));

    EXPECT_THAT(assembler.Damage(), HasSubstr("never came"));
    EXPECT_EQ(assembler.Line().text, "kept");
    EXPECT_TRUE(assembler.Take(Chunk(3, WithLevel(1, "[1:2] next"))));
    EXPECT_THAT(assembler.Damage(), IsEmpty());
}

TEST(LogLineAssembler, GoesOnAfterADamagedChunkInTheMiddle) {
    LogLineAssembler assembler;
    EXPECT_FALSE(assembler.Take(Chunk(1, WithLevel(2, "[1:2] lost"))));
    EXPECT_FALSE(assembler.Take(Chunk(8, "odd")));
    EXPECT_FALSE(assembler.Take(Chunk(2, "orphan")));
    EXPECT_THAT(assembler.Damage(), HasSubstr("not begun"));
    EXPECT_TRUE(assembler.Take(Chunk(3, WithLevel(2, "[1:2] well"))));
}

TEST(LogLineAssembler, GivesUpALineThatDoesNotEnd) {
    LogLineAssembler assembler;
    (void)assembler.Take(Chunk(1, WithLevel(2, "")));
    const IpcLogChunk middle = Chunk(0, std::string(503, 'm'));
    int taken = 0;
    while (assembler.InsideLine() && taken < 10000) {
        (void)assembler.Take(middle);
        ++taken;
    }
    EXPECT_THAT(assembler.Damage(), HasSubstr("does not end"));
    EXPECT_EQ(taken, (1 << 20) / 503 + 1);
}

TEST(LogLineAssembler, LeavesATextWithoutItsPrefixWhole) {
    LogLineAssembler assembler;
    for (const char* text : {"plain", "[1:2]", "[1:2]x", "[1:] x", "[:2] x", "[1 2] x", "[99999999999:1] x", "[", ""}) {
        ASSERT_TRUE(assembler.Take(Chunk(3, WithLevel(2, text)))) << text;
        EXPECT_EQ(assembler.Line().text, text);
        EXPECT_EQ(assembler.Line().processId, 0U);
        EXPECT_EQ(assembler.Line().threadId, 0U);
    }
}

}  // namespace
}  // namespace velmo_parent
