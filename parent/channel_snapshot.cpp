#include "velmo_parent/channel_snapshot.h"

#include <algorithm>

#include "ipc/read_once.h"

namespace velmo_parent {
namespace {

ipc::channel_header CopyHeader(const ipc::channel_header& shared) {
    ipc::channel_header copy{};
    copy.free_head = ipc::ReadOnce(shared.free_head);
    copy.free_tail = ipc::ReadOnce(shared.free_tail);
    copy.used_head = ipc::ReadOnce(shared.used_head);
    copy.used_tail = ipc::ReadOnce(shared.used_tail);
    return copy;
}

std::vector<ipc::channel_node> CopyNodes(std::span<const ipc::channel_node> shared) {
    std::vector<ipc::channel_node> copy(shared.size());
    std::transform(shared.begin(), shared.end(), copy.begin(), [](const ipc::channel_node& node) {
        return ipc::channel_node{ipc::ReadOnce(node.next), ipc::ReadOnce(node.prev), ipc::ReadOnce(node.slot)};
    });
    return copy;
}

ListSnapshot Walk(std::int32_t head, std::int32_t tail, const std::vector<ipc::channel_node>& nodes) {
    ListSnapshot list{head, tail, {}, ListShape::Whole};
    std::vector<bool> passed(nodes.size(), false);
    for (std::int32_t node = head; node != ipc::kNoNode;) {
        const auto index = static_cast<std::size_t>(node);  // a negative one becomes too large
        if (index >= nodes.size()) {
            list.shape = ListShape::OutOfRange;
            return list;
        }
        if (passed[index]) {
            list.shape = ListShape::Ring;
            return list;
        }
        passed[index] = true;
        list.nodes.push_back(node);
        node = nodes[index].next;
    }
    const std::int32_t last = list.nodes.empty() ? ipc::kNoNode : list.nodes.back();
    if (last != tail) list.shape = ListShape::Changing;
    return list;
}

bool Holds(const ListSnapshot& list, std::int32_t node) {
    return std::find(list.nodes.begin(), list.nodes.end(), node) != list.nodes.end();
}

template <class Type>
const Type* At(std::span<const std::byte> mapping, std::size_t offset) {
    return static_cast<const Type*>(static_cast<const void*>(mapping.data() + offset));
}

}  // namespace

std::string DescribeShape(ListShape shape) {
    switch (shape) {
        case ListShape::Whole:
            return "whole";
        case ListShape::Changing:
            return "tail and last node differ: being changed, or damaged if it stays so";
        case ListShape::Ring:
            return "runs in a ring: damaged";
        case ListShape::OutOfRange:
            return "leads out of range: damaged";
    }
    return "unknown";
}

ChannelSnapshot TakeSnapshot(std::span<const std::byte> mapping, const ipc::ChannelLayout& layout) {
    const ipc::channel_header header = CopyHeader(*At<ipc::channel_header>(mapping, 0));
    const std::vector<ipc::channel_node> nodes = CopyNodes(std::span(
        At<ipc::channel_node>(mapping, sizeof(ipc::channel_header)), static_cast<std::size_t>(layout.slotCount)));
    ChannelSnapshot snapshot;
    snapshot.initialised = header.free_head != header.used_head || header.free_head == ipc::kNoNode;
    if (!snapshot.initialised) return snapshot;
    snapshot.free = Walk(header.free_head, header.free_tail, nodes);
    snapshot.used = Walk(header.used_head, header.used_tail, nodes);
    for (std::int32_t node = 0; node < layout.slotCount; ++node) {
        const bool isFree = Holds(snapshot.free, node);
        const bool isUsed = Holds(snapshot.used, node);
        if (isFree && isUsed) snapshot.inBoth.push_back(node);
        if (!isFree && !isUsed) snapshot.inHand.push_back(node);
        if (nodes[static_cast<std::size_t>(node)].slot != node) snapshot.misnumbered.push_back(node);
    }
    return snapshot;
}

std::span<const std::byte> SlotIn(std::span<const std::byte> mapping, const ipc::ChannelLayout& layout,
                                  std::int32_t node) {
    return mapping.subspan(
        layout.slots_offset + static_cast<std::size_t>(layout.stride) * static_cast<std::size_t>(node), layout.stride);
}

}  // namespace velmo_parent
