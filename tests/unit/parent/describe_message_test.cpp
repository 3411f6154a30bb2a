#include "velmo_parent/describe_message.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>

namespace velmo_parent {
namespace {

using testing::AllOf;
using testing::HasSubstr;

template <class Slot>
std::unique_ptr<Slot> Zeroed(std::int8_t index) {
    auto slot = std::make_unique<Slot>();
    std::memset(static_cast<void*>(slot.get()), 0, sizeof(Slot));
    slot->index = index;
    return slot;
}

TEST(DescribeMessage, ShowsAnInitWithItsTexts) {
    const auto slot = Zeroed<calyr_ipc::CommandSlot>(0);
    auto& record = slot->As<calyr_ipc::IpcCommandInit>();
    record.deviceType = 1;
    record.modelType = -5;
    std::strcpy(record.modelPath, "models/a");
    std::strcpy(record.gpuCachePath, "c\nd");
    std::memset(record.enginePath, 'e', sizeof record.enginePath);

    EXPECT_THAT(Describe(*slot),
                AllOf(HasSubstr("Init, deviceType 1, modelQuality 0, modelType -5, modelPath \"models/a\""),
                      HasSubstr("gpuCachePath \"c\\x0ad\""), HasSubstr("and 864 more (no terminator)")));
}

TEST(DescribeMessage, NamesTheOtherCommands) {
    EXPECT_EQ(Describe(*Zeroed<calyr_ipc::CommandSlot>(1)), "Fini");
    EXPECT_EQ(Describe(*Zeroed<calyr_ipc::CommandSlot>(2)), "Terminate");
    EXPECT_EQ(Describe(*Zeroed<calyr_ipc::CommandSlot>(3)), "AckHeartBeat");
}

TEST(DescribeMessage, SaysCalmlyThatAnIndexNamesNothing) {
    EXPECT_EQ(Describe(*Zeroed<calyr_ipc::CommandSlot>(4)), "index 4, which names no record");
    EXPECT_EQ(Describe(*Zeroed<calyr_ipc::CommandSlot>(-1)), "no record (index -1)");
    EXPECT_EQ(Describe(*Zeroed<calyr_ipc::EventSlot>(-2)), "index -2, which names no record");
    EXPECT_EQ(Describe(*Zeroed<calyr_ipc::InputSlot>(1)), "index 1, which names no record");
    EXPECT_EQ(Describe(*Zeroed<calyr_ipc::OutputSlot>(2)), "index 2, which names no record");
}

TEST(DescribeMessage, ShowsEvents) {
    const auto slot = Zeroed<calyr_ipc::EventSlot>(0);
    slot->As<calyr_ipc::IpcEventOnInit>().pid = 77;
    slot->As<calyr_ipc::IpcEventOnInit>().result = 3;
    EXPECT_EQ(Describe(*slot), "OnInit, pid 77, result 3");
    EXPECT_EQ(Describe(*Zeroed<calyr_ipc::EventSlot>(1)), "OnHeartBeat");
}

TEST(DescribeMessage, ShowsAFramesHeader) {
    const auto slot = Zeroed<calyr_ipc::InputSlot>(0);
    auto& record = slot->As<calyr_ipc::RvoCalyrIpcInput>();
    record.header.width = 256;
    record.header.height = 144;
    record.dataSize = 110592;
    EXPECT_EQ(Describe(*slot), "frame, 256 x 144, stampMs 0, dataSize 110592, temporalEnabled 0");
    record.dataSize = calyr_ipc::kFrameCapacity + 1;
    EXPECT_THAT(Describe(*slot), HasSubstr("dataSize 691201 (more than 691200: damaged)"));
}

TEST(DescribeMessage, ShowsResultsOfBothKinds) {
    const auto mask = Zeroed<calyr_ipc::OutputSlot>(0);
    mask->As<calyr_ipc::RvoInhouseIpcOutput>().status = 4;
    EXPECT_EQ(Describe(*mask), "mask result, status 4, 0 x 0, stampMs 0, maskLength 0");
    const auto full = Zeroed<calyr_ipc::OutputSlot>(1);
    full->As<calyr_ipc::RvoCalyrIpcOutput>().maskLength = calyr_ipc::kMaskCapacity + 1;
    EXPECT_EQ(Describe(*full),
              "full result, status 0, 0 x 0, stampMs 0, maskLength 230401 (more than 230400: damaged)");
}

TEST(DescribeMessage, ShowsLogChunks) {
    calyr_ipc::IpcLogChunk chunk{};
    std::memset(&chunk, 'z', sizeof chunk);
    chunk.flags = 3;
    chunk.length = 9;
    std::memcpy(chunk.payload, "\2\0\0\0hello", 9);
    EXPECT_EQ(Describe(chunk), "whole line, length 9, level 2, \"hello\"");
    chunk.flags = 2;
    chunk.length = 2;
    EXPECT_EQ(Describe(chunk), "end of a line, length 2, \"\\x02\\x00\"");
    chunk.flags = 9;
    chunk.length = 0xFFFFFFFF;
    EXPECT_THAT(Describe(chunk), AllOf(HasSubstr("flags 9: damaged"), HasSubstr("(more than 503: damaged)")));
}

}  // namespace
}  // namespace velmo_parent
