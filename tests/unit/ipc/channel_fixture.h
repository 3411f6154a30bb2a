#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "ipc/channel.h"
#include "support/fake_kernel_objects.h"
#include "support/recording_streams.h"
#include "support/watchdog.h"

// A small channel "id" of four messages, both ends of it in this process.
struct Slot {
    std::int32_t value;
    std::int32_t copy;
};
using Channel = ipc::channel<Slot, 4>;

inline constexpr std::uint32_t kSlotsOffset = 24 + 4 * 12;
inline constexpr std::uint32_t kMappingBytes = kSlotsOffset + 4 * 8;

class ChannelTest : public testing::Test {
 protected:
    std::unique_ptr<Channel> Make(std::int32_t role) { return std::make_unique<Channel>(role, m_os, m_streams); }

    std::unique_ptr<Channel> MakeOpen(std::int32_t role) {
        auto channel = Make(role);
        EXPECT_TRUE(channel->Open("id"));
        return channel;
    }

    static bool SendValue(Channel& channel, std::int32_t value, bool overwriteOldest = false,
                          std::uint32_t timeoutMs = 0) {
        return channel.Send([value](Slot& slot) { slot = {value, value}; }, overwriteOldest, timeoutMs);
    }

    static std::optional<std::int32_t> ReceiveValue(Channel& channel, std::uint32_t timeoutMs = 0) {
        std::optional<std::int32_t> value;
        channel.Receive([&value](const Slot& slot) { value = slot.value; }, timeoutMs);
        return value;
    }

    // The mapping's 32-bit word at `offset`. Only while nobody else is at work on it.
    std::int32_t Word(std::size_t offset) {
        std::int32_t word = 0;
        std::memcpy(&word, m_os.Memory("id_shm") + offset, sizeof word);
        return word;
    }
    void SetWord(std::size_t offset, std::int32_t word) {
        std::memcpy(m_os.Memory("id_shm") + offset, &word, sizeof word);
    }
    std::vector<std::byte> Bytes() {
        const std::byte* const memory = m_os.Memory("id_shm");
        return {memory, memory + kMappingBytes};
    }

    // The nodes of a list, from its head along the links.
    std::vector<std::int32_t> Nodes(std::size_t headOffset) {
        std::vector<std::int32_t> nodes;
        for (std::int32_t node = Word(headOffset); node != -1 && nodes.size() <= 4;
             node = Word(24 + 12 * static_cast<std::size_t>(node))) {
            nodes.push_back(node);
        }
        return nodes;
    }
    std::vector<std::int32_t> FreeNodes() { return Nodes(0); }
    std::vector<std::int32_t> UsedNodes() { return Nodes(12); }

    support::Watchdog m_watchdog;
    support::RecordingStreams m_streams;
    support::FakeKernelObjects m_os;
};
