#include "host/command_dispatch.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "ipc/listeners.h"

namespace rvo_calyr {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class RecordingListener final : public calyr_ipc::IpcCommandListener {
 public:
    void Init(const _CalyrPortraitOption& given) override {
        calls.emplace_back("Init");
        option = given;
    }
    void Fini(const calyr_ipc::IpcCommandFini&) override { calls.emplace_back("Fini"); }
    void AckHeartBeat(const calyr_ipc::IpcCommandAckHeartBeat&) override { calls.emplace_back("AckHeartBeat"); }
    void Terminate(const calyr_ipc::IpcCommandTerminate&) override { calls.emplace_back("Terminate"); }

    std::vector<std::string> calls;
    _CalyrPortraitOption option;
};

// A slot as the wire has it: 3100 bytes, the index at 3096.
class CommandDispatch : public ::testing::Test {
 protected:
    CommandDispatch() { std::memset(m_slot.get(), 0xA5, sizeof(calyr_ipc::CommandSlot)); }

    std::uint8_t* Bytes() { return reinterpret_cast<std::uint8_t*>(m_slot.get()); }

    std::vector<std::string> Dispatch(int index) {
        Bytes()[3096] = static_cast<std::uint8_t>(index);
        DispatchCommand(*m_slot, m_listener);
        return m_listener.calls;
    }

    std::unique_ptr<calyr_ipc::CommandSlot> m_slot = std::make_unique<calyr_ipc::CommandSlot>();
    RecordingListener m_listener;
};

TEST_F(CommandDispatch, TakesIndexZeroForInit) {
    EXPECT_THAT(Dispatch(0), ElementsAre("Init"));
}
TEST_F(CommandDispatch, TakesIndexOneForFini) {
    EXPECT_THAT(Dispatch(1), ElementsAre("Fini"));
}
TEST_F(CommandDispatch, TakesIndexTwoForTerminate) {
    EXPECT_THAT(Dispatch(2), ElementsAre("Terminate"));
}
TEST_F(CommandDispatch, TakesIndexThreeForAnAcknowledgement) {
    EXPECT_THAT(Dispatch(3), ElementsAre("AckHeartBeat"));
}

TEST_F(CommandDispatch, TakesEveryOtherIndexForAnAcknowledgementToo) {
    for (const int index : {4, 5, 127, -2, -128}) {
        m_listener.calls.clear();
        EXPECT_THAT(Dispatch(index), ElementsAre("AckHeartBeat")) << index;
    }
}

TEST_F(CommandDispatch, ThrowsForASlotThatHoldsNothing) {
    EXPECT_THROW(Dispatch(-1), std::bad_variant_access);
    EXPECT_THAT(m_listener.calls, IsEmpty());
}

TEST_F(CommandDispatch, BuildsTheOptionOutOfTheRecordsBytes) {
    std::memset(Bytes(), 0, 3096);
    const std::int32_t numbers[] = {1, -7, 2};
    std::memcpy(Bytes() + 12, numbers, sizeof(numbers));
    std::memcpy(Bytes() + 24, "models", 7);
    std::memcpy(Bytes() + 1048, "engine", 7);
    std::memcpy(Bytes() + 2072, "cache", 6);

    Dispatch(0);

    const _CalyrPortraitOption& option = m_listener.option;
    EXPECT_EQ(option.flag0, 1);
    EXPECT_EQ(option.flag1, 0);
    EXPECT_EQ(option.flag2, 1);
    EXPECT_EQ(option.deviceType, 1);
    EXPECT_EQ(option.modelQuality, -7);
    EXPECT_EQ(option.modelType, 2);
    EXPECT_STREQ(option.modelPath, "models");
    EXPECT_STREQ(option.enginePath, "engine");
    EXPECT_STREQ(option.gpuCachePath, "cache");
}

TEST_F(CommandDispatch, LeavesTheReservedPathAllZero) {
    Dispatch(0);
    EXPECT_TRUE(std::ranges::all_of(m_listener.option.reservedPath, [](char byte) { return byte == 0; }));
}

TEST_F(CommandDispatch, CopiesATextWithoutATerminatorAsItStands) {
    std::memset(Bytes() + 24, 'm', 1024);
    std::memset(Bytes() + 1048, 'e', 1024);
    std::memset(Bytes() + 2072, 'c', 1024);

    Dispatch(0);

    EXPECT_EQ(std::string(m_listener.option.modelPath, 1024), std::string(1024, 'm'));
    EXPECT_EQ(std::string(m_listener.option.enginePath, 1024), std::string(1024, 'e'));
    EXPECT_EQ(std::string(m_listener.option.gpuCachePath, 1024), std::string(1024, 'c'));
}

}  // namespace
}  // namespace rvo_calyr
