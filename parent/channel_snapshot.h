#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "ipc/channel_layout.h"

// What the mapping of a live channel shows at one moment, without touching it. The words are copied once, and the copy
// is looked at: both processes go on meanwhile, so a snapshot of a busy channel can show a node on its way, or even a
// list in mid-change. Only what shows again and again is damage.
namespace velmo_parent {

enum class ListShape {
    Whole,       // ends with -1, at the node that the tail names; or empty, both ends -1
    Changing,    // ends properly, but the tail names another node: someone is at work on it
    Ring,        // comes back to a node that it has passed
    OutOfRange,  // leads to an index that no node has
};

// The words for a shape, for a person.
std::string DescribeShape(ListShape shape);

struct ListSnapshot {
    std::int32_t head = ipc::kNoNode;
    std::int32_t tail = ipc::kNoNode;
    std::vector<std::int32_t> nodes;  // from the head on, each one once
    ListShape shape = ListShape::Whole;
};

struct ChannelSnapshot {
    bool initialised = false;  // false while the maker has not written the lists; nothing else counts then
    ListSnapshot free;
    ListSnapshot used;
    std::vector<std::int32_t> inHand;       // in neither list: being written, read, or kept aside
    std::vector<std::int32_t> inBoth;       // in both lists: damage
    std::vector<std::int32_t> misnumbered;  // nodes whose slot word is not their index: damage
};

// Takes the snapshot of a channel of this layout. `mapping` holds slots_offset bytes at least, aligned to 4; it may be
// read-only. Every walk ends after slotCount nodes. Thread: any.
ChannelSnapshot TakeSnapshot(std::span<const std::byte> mapping, const ipc::ChannelLayout& layout);

// Where the slot of `node` lies. `mapping` is the whole of it; node is in 0 to slotCount - 1.
std::span<const std::byte> SlotIn(std::span<const std::byte> mapping, const ipc::ChannelLayout& layout,
                                  std::int32_t node);

}  // namespace velmo_parent
