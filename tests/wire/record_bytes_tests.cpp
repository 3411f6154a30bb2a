#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>

#include "byte_image.h"
#include "ipc/channels.h"

// Offsets in here are written out by hand: they are the peer's, not what offsetof says.
using namespace calyr_ipc;

namespace {

TEST(CommandBytes, InitIsReadWhereThePeerWroteIt) {
    ByteImage bytes(3100);
    bytes.Put32(12, 1).Put32(16, 0xFFFFFFFE).Put32(20, 2);
    bytes.PutText(24, "models").Put8(30, 0).PutText(1048, "engine").Put8(1054, 0).PutText(2072, "cache").Put8(2077, 0);
    bytes.Put8(3096, 0);

    const auto slot = bytes.As<CommandSlot>();
    const auto& record = slot->As<IpcCommandInit>();

    EXPECT_EQ(RequireAlternative(*slot), CommandSlot::IndexOf<IpcCommandInit>());
    EXPECT_EQ(record.deviceType, 1);
    EXPECT_EQ(record.modelQuality, -2);
    EXPECT_EQ(record.modelType, 2);
    EXPECT_STREQ(record.modelPath, "models");
    EXPECT_STREQ(record.enginePath, "engine");
    EXPECT_STREQ(record.gpuCachePath, "cache");
}

TEST(CommandBytes, InitIsWrittenWhereThePeerReadsIt) {
    auto slot = ByteImage::Blank<CommandSlot>();
    auto& record = slot->As<IpcCommandInit>();
    record.deviceType = 3;
    record.modelQuality = 1;
    record.modelType = -1;
    std::memcpy(record.modelPath, "m", 2);
    std::memcpy(record.enginePath, "ee", 3);
    std::memcpy(record.gpuCachePath, "ccc", 4);
    record.modelPath[1023] = 'x';
    record.enginePath[1023] = 'y';
    record.gpuCachePath[1023] = 'z';
    slot->index = CommandSlot::IndexOf<IpcCommandInit>();

    ByteImage expected(3100);
    expected.Put32(12, 3).Put32(16, 1).Put32(20, 0xFFFFFFFF);
    expected.PutText(24, "m").Put8(25, 0).Put8(1047, 'x');
    expected.PutText(1048, "ee").Put8(1050, 0).Put8(2071, 'y');
    expected.PutText(2072, "ccc").Put8(2075, 0).Put8(3095, 'z');
    expected.Put8(3096, 0);
    EXPECT_EQ(ByteImage::Of(*slot), expected);
}

TEST(CommandBytes, OtherCommandsAreTheirIndexAlone) {
    auto slot = ByteImage::Blank<CommandSlot>();

    slot->index = CommandSlot::IndexOf<IpcCommandFini>();
    EXPECT_EQ(ByteImage::Of(*slot), ByteImage(3100).Put8(3096, 1));
    slot->index = CommandSlot::IndexOf<IpcCommandTerminate>();
    EXPECT_EQ(ByteImage::Of(*slot), ByteImage(3100).Put8(3096, 2));
    slot->index = CommandSlot::IndexOf<IpcCommandAckHeartBeat>();
    EXPECT_EQ(ByteImage::Of(*slot), ByteImage(3100).Put8(3096, 3));
    slot->index = kNoAlternative;
    EXPECT_EQ(ByteImage::Of(*slot), ByteImage(3100).Put8(3096, 0xFF));
}

TEST(CommandBytes, IndexIsReadAsASignedByte) {
    EXPECT_EQ(RequireAlternative(*ByteImage(3100).Put8(3096, 3).As<CommandSlot>()), 3);
    EXPECT_EQ(RequireAlternative(*ByteImage(3100).Put8(3096, 0x7F).As<CommandSlot>()), 127);
    EXPECT_EQ(RequireAlternative(*ByteImage(3100).Put8(3096, 0xFE).As<CommandSlot>()), -2);
    EXPECT_THROW((void)RequireAlternative(*ByteImage(3100).Put8(3096, 0xFF).As<CommandSlot>()),
                 std::bad_variant_access);
}

TEST(EventBytes, OnInitIsWrittenWhereThePeerReadsIt) {
    auto slot = ByteImage::Blank<EventSlot>();
    slot->As<IpcEventOnInit>() = {{1, 0}, 0x12345678, 2};
    slot->index = EventSlot::IndexOf<IpcEventOnInit>();

    EXPECT_EQ(ByteImage::Of(*slot), ByteImage(20).Put64(0, 1).Put32(8, 0x12345678).Put32(12, 2).Put8(16, 0));
}

TEST(EventBytes, OnInitIsReadWhereThePeerWroteIt) {
    const auto slot =
        ByteImage(20).Put64(0, 0x1122334455667788).Put32(8, 77).Put32(12, 0xFFFFFFFF).Put8(16, 0).As<EventSlot>();
    const auto& record = slot->As<IpcEventOnInit>();

    EXPECT_EQ(RequireAlternative(*slot), EventSlot::IndexOf<IpcEventOnInit>());
    EXPECT_EQ(record.one.low, 0x55667788u);
    EXPECT_EQ(record.one.high, 0x11223344u);
    EXPECT_EQ(record.pid, 77u);
    EXPECT_EQ(record.result, -1);
}

TEST(EventBytes, OnHeartBeatLeavesTheOtherTwelveBytesAsTheyWere) {
    auto slot = ByteImage::Blank<EventSlot>();
    slot->As<IpcEventOnHeartBeat>() = {5};
    slot->index = EventSlot::IndexOf<IpcEventOnHeartBeat>();

    EXPECT_EQ(ByteImage::Of(*slot), ByteImage(20).Put32(0, 5).Put8(16, 1));
}

TEST(EventBytes, OnHeartBeatIsReadWhereThePeerWroteIt) {
    const auto slot = ByteImage(20).Put32(0, 0x01020304).Put8(16, 1).As<EventSlot>();

    EXPECT_EQ(RequireAlternative(*slot), EventSlot::IndexOf<IpcEventOnHeartBeat>());
    EXPECT_EQ(slot->As<IpcEventOnHeartBeat>().meaningless, 0x01020304u);
}

TEST(LogBytes, ChunkIsWrittenWhereThePeerReadsIt) {
    auto chunk = ByteImage::Blank<IpcLogChunk>();
    chunk->flags = kFirstChunk | kLastChunk;
    chunk->length = 503;
    chunk->payload[0] = 'a';
    chunk->payload[503] = 'z';

    EXPECT_EQ(ByteImage::Of(*chunk), ByteImage(512).Put8(0, 3).Put32(4, 503).Put8(8, 'a').Put8(511, 'z'));
}

TEST(LogBytes, ChunkIsReadWhereThePeerWroteIt) {
    const auto chunk = ByteImage(512).Put8(0, 2).Put32(4, 0x00010002).Put8(8, 'q').Put8(511, 'r').As<IpcLogChunk>();

    EXPECT_EQ(chunk->flags, kLastChunk);
    EXPECT_EQ(chunk->length, 0x00010002u);
    EXPECT_EQ(chunk->payload[0], 'q');
    EXPECT_EQ(chunk->payload[503], 'r');
}

ByteImage& PutHeader(ByteImage& bytes, std::size_t at) {
    return bytes.Put32(at, 0x0A0B0C0D)
        .Put32(at + 4, 640)
        .Put32(at + 8, 360)
        .Put32(at + 12, 0x1A1B1C1D)
        .Put64(at + 16, 0x0102030405060708)
        .Put64(at + 24, 0x1112131415161718);
}

IpcFrameHeader MakeHeader() {
    ByteImage bytes(32);
    PutHeader(bytes, 0);
    IpcFrameHeader header{};
    std::memcpy(header.opaque0, bytes.Bytes().data(), 4);
    header.width = 640;
    header.height = 360;
    std::memcpy(header.opaque12, bytes.Bytes().data() + 12, 4);
    header.stampMs = 0x0102030405060708;
    std::memcpy(header.opaque24, bytes.Bytes().data() + 24, 8);
    return header;
}

bool IsOurHeader(const IpcFrameHeader& header) {
    const IpcFrameHeader ours = MakeHeader();
    return header.width == 640 && header.height == 360 && header.stampMs == 0x0102030405060708 &&
           std::memcmp(&header, &ours, sizeof ours) == 0;
}

TEST(FrameBytes, InputIsReadWhereThePeerWroteIt) {
    ByteImage bytes(691248);
    bytes.Put8(0, 1).Put32(4, 691200).Put8(8, 11).Put8(691207, 22).Put8(691240, 0);
    PutHeader(bytes, 691208);

    const auto slot = bytes.As<InputSlot>();
    const auto& record = slot->As<RvoCalyrIpcInput>();

    EXPECT_EQ(RequireAlternative(*slot), InputSlot::IndexOf<RvoCalyrIpcInput>());
    EXPECT_EQ(record.temporalEnabled, 1);
    EXPECT_EQ(record.dataSize, 691200u);
    EXPECT_EQ(record.data[0], 11);
    EXPECT_EQ(record.data[691199], 22);
    EXPECT_TRUE(IsOurHeader(record.header));
}

TEST(FrameBytes, InputIsWrittenWhereThePeerReadsIt) {
    auto slot = ByteImage::Blank<InputSlot>();
    auto& record = slot->As<RvoCalyrIpcInput>();
    record.temporalEnabled = 1;
    record.dataSize = 110592;
    record.data[0] = 11;
    record.data[691199] = 22;
    record.header = MakeHeader();
    slot->index = InputSlot::IndexOf<RvoCalyrIpcInput>();

    ByteImage expected(691248);
    expected.Put8(0, 1).Put32(4, 110592).Put8(8, 11).Put8(691207, 22).Put8(691240, 0);
    EXPECT_EQ(ByteImage::Of(*slot), PutHeader(expected, 691208));
}

TEST(FrameBytes, MaskOutputIsWrittenWhereThePeerReadsIt) {
    auto slot = ByteImage::Blank<OutputSlot>();
    auto& record = slot->As<RvoInhouseIpcOutput>();
    record.status = 4;
    record.header = MakeHeader();
    record.mask[0] = 11;
    record.mask[230399] = 22;
    record.maskLength = 230400;
    slot->index = OutputSlot::IndexOf<RvoInhouseIpcOutput>();

    ByteImage expected(1491000);
    expected.Put32(0, 4).Put8(40, 11).Put8(230439, 22).Put32(230440, 230400).Put8(1490992, 0);
    EXPECT_EQ(ByteImage::Of(*slot), PutHeader(expected, 8));
}

TEST(FrameBytes, MaskOutputIsReadWhereThePeerWroteIt) {
    ByteImage bytes(1491000);
    bytes.Put32(0, 0xFFFFFFFF).Put8(40, 11).Put8(230439, 22).Put32(230440, 36864).Put8(1490992, 0);
    PutHeader(bytes, 8);

    const auto slot = bytes.As<OutputSlot>();
    const auto& record = slot->As<RvoInhouseIpcOutput>();

    EXPECT_EQ(RequireAlternative(*slot), OutputSlot::IndexOf<RvoInhouseIpcOutput>());
    EXPECT_EQ(record.status, -1);
    EXPECT_TRUE(IsOurHeader(record.header));
    EXPECT_EQ(record.mask[0], 11);
    EXPECT_EQ(record.mask[230399], 22);
    EXPECT_EQ(record.maskLength, 36864u);
}

constexpr std::uint32_t kFloatOne = 0x3F800000;
constexpr std::uint32_t kFloatMinusTwo = 0xC0000000;

TEST(FrameBytes, FullOutputIsWrittenWhereThePeerReadsIt) {
    auto slot = ByteImage::Blank<OutputSlot>();
    auto& record = slot->As<RvoCalyrIpcOutput>();
    record.status = 2;
    record.header = MakeHeader();
    record.mask[0] = 11;
    record.mask[230399] = 22;
    record.gesture[0] = 1.0F;
    record.gesture[8] = -2.0F;
    record.maskLength = 230400;
    record.landmarks[0] = 1.0F;
    record.landmarks[207215] = -2.0F;
    record.motion = 0x01020304;
    record.lutVertices[0] = 1.0F;
    record.lutVertices[98] = -2.0F;
    record.lut[0] = 1.0F;
    record.lut[107810] = -2.0F;
    slot->index = OutputSlot::IndexOf<RvoCalyrIpcOutput>();

    ByteImage expected(1491000);
    expected.Put32(0, 2).Put8(40, 11).Put8(230439, 22);
    expected.Put32(230440, kFloatOne).Put32(230472, kFloatMinusTwo).Put32(230476, 230400);
    expected.Put32(230480, kFloatOne).Put32(1059340, kFloatMinusTwo).Put32(1059344, 0x01020304);
    expected.Put32(1059348, kFloatOne).Put32(1059740, kFloatMinusTwo);
    expected.Put32(1059744, kFloatOne).Put32(1490984, kFloatMinusTwo).Put8(1490992, 1);
    EXPECT_EQ(ByteImage::Of(*slot), PutHeader(expected, 8));
}

TEST(FrameBytes, FullOutputIsReadWhereThePeerWroteIt) {
    ByteImage bytes(1491000);
    bytes.Put32(0, 0).Put8(40, 11).Put8(230439, 22);
    bytes.Put32(230440, kFloatOne).Put32(230472, kFloatMinusTwo).Put32(230476, 36864);
    bytes.Put32(230480, kFloatOne).Put32(1059340, kFloatMinusTwo).Put32(1059344, 9);
    bytes.Put32(1059348, kFloatOne).Put32(1059740, kFloatMinusTwo);
    bytes.Put32(1059744, kFloatOne).Put32(1490984, kFloatMinusTwo).Put8(1490992, 1);
    PutHeader(bytes, 8);

    const auto slot = bytes.As<OutputSlot>();
    const auto& record = slot->As<RvoCalyrIpcOutput>();

    EXPECT_EQ(RequireAlternative(*slot), OutputSlot::IndexOf<RvoCalyrIpcOutput>());
    EXPECT_EQ(record.status, 0);
    EXPECT_TRUE(IsOurHeader(record.header));
    EXPECT_EQ(record.mask[0], 11);
    EXPECT_EQ(record.mask[230399], 22);
    EXPECT_EQ(record.gesture[0], 1.0F);
    EXPECT_EQ(record.gesture[8], -2.0F);
    EXPECT_EQ(record.maskLength, 36864u);
    EXPECT_EQ(record.landmarks[0], 1.0F);
    EXPECT_EQ(record.landmarks[207215], -2.0F);
    EXPECT_EQ(record.motion, 9u);
    EXPECT_EQ(record.lutVertices[0], 1.0F);
    EXPECT_EQ(record.lutVertices[98], -2.0F);
    EXPECT_EQ(record.lut[0], 1.0F);
    EXPECT_EQ(record.lut[107810], -2.0F);
}

}  // namespace
