#pragma once

#include <cstddef>
#include <cstdint>

#include "ipc/wire_assert.h"

// The head of a channel's mapping. Both processes read and write these words at any time, so code touches them through
// std::atomic_ref only; see list_steps.h.
namespace ipc {

// The end of a list, and "no node".
inline constexpr std::int32_t kNoNode = -1;

struct channel_header {
    std::int32_t free_head;  // index of the first free node, -1 when none
    std::int32_t free_tail;  // index of the last free node, -1 when none
    std::uint8_t free_busy;  // only ever cleared by this program, and tested by nobody here
    std::uint8_t free_padding[3];
    std::int32_t used_head;  // index of the oldest filled node, -1 when none
    std::int32_t used_tail;  // index of the newest filled node, -1 when none
    std::uint8_t used_busy;
    std::uint8_t used_padding[3];
};
WIRE_RECORD(channel_header, 24, 4);
WIRE_FIELD(channel_header, free_head, 0, 4);
WIRE_FIELD(channel_header, free_tail, 4, 4);
WIRE_FIELD(channel_header, free_busy, 8, 1);
WIRE_FIELD(channel_header, used_head, 12, 4);
WIRE_FIELD(channel_header, used_tail, 16, 4);
WIRE_FIELD(channel_header, used_busy, 20, 1);

struct channel_node {
    std::int32_t next;  // next node of its list, -1 at the end
    std::int32_t prev;  // previous node, -1 at the head; written by everybody, read by nobody
    std::int32_t slot;  // the index of this node and of its slot; node i always holds i
};
WIRE_RECORD(channel_node, 12, 4);
WIRE_FIELD(channel_node, next, 0, 4);
WIRE_FIELD(channel_node, prev, 4, 4);
WIRE_FIELD(channel_node, slot, 8, 4);

// Where things lie in the mapping of a channel with N slots of `stride` bytes each, aligned to `alignment`.
struct ChannelLayout {
    std::int32_t slotCount;
    std::uint32_t stride;
    std::uint32_t slots_offset;
    std::uint32_t mappingSize;
};

constexpr ChannelLayout LayoutOf(std::int32_t slotCount, std::uint32_t stride, std::uint32_t alignment) {
    const auto count = static_cast<std::uint32_t>(slotCount);
    const auto listEnd = static_cast<std::uint32_t>(sizeof(channel_header) + sizeof(channel_node) * count);
    const std::uint32_t slotsOffset = (listEnd + alignment - 1) / alignment * alignment;
    return {slotCount, stride, slotsOffset, slotsOffset + count * stride};
}

template <class T, std::int32_t N>
inline constexpr ChannelLayout kLayoutOf = LayoutOf(N, static_cast<std::uint32_t>(sizeof(T)),
                                                    static_cast<std::uint32_t>(alignof(T)));

}  // namespace ipc
