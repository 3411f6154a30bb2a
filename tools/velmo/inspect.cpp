#include "velmo_tool/inspect.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "ipc/channels.h"
#include "velmo_parent/channel_snapshot.h"
#include "velmo_parent/describe_message.h"

namespace velmo_tool {
namespace {

using velmo_parent::ChannelSnapshot;
using velmo_parent::ListShape;
using velmo_parent::ListSnapshot;

struct ChannelKind {
    const char* suffix;
    const char* what;
    ipc::ChannelLayout layout;
    std::string (*describe)(const std::byte* slot);
};

template <class Slot>
std::string DescribeSlot(const std::byte* slot) {
    return velmo_parent::Describe(*static_cast<const Slot*>(static_cast<const void*>(slot)));
}

const ChannelKind kKinds[] = {
    {calyr_ipc::kCommandSuffix, "commands to the process", calyr_ipc::CommandChannel::kLayout,
     DescribeSlot<calyr_ipc::CommandSlot>},
    {calyr_ipc::kInputSuffix, "frames to the process", calyr_ipc::InputChannel::kLayout,
     DescribeSlot<calyr_ipc::InputSlot>},
    {calyr_ipc::kEventSuffix, "events from the process", calyr_ipc::EventChannel::kLayout,
     DescribeSlot<calyr_ipc::EventSlot>},
    {calyr_ipc::kOutputSuffix, "results from the process", calyr_ipc::OutputChannel::kLayout,
     DescribeSlot<calyr_ipc::OutputSlot>},
    {calyr_ipc::kLogSuffix, "log from the process", calyr_ipc::LogChannel::kLayout,
     DescribeSlot<calyr_ipc::IpcLogChunk>},
};

enum class Finding { Good, Absent, Damaged };

std::string Joined(const std::vector<std::int32_t>& nodes) {
    std::string text;
    for (const std::int32_t node : nodes)
        text += (text.empty() ? "" : " ") + std::to_string(node);
    return text.empty() ? "none" : text;
}

// False when the list is damaged for certain.
bool ShowList(const char* name, const ListSnapshot& list, std::ostream& out) {
    out << "  " << name << ": " << list.nodes.size() << " (head " << list.head << ", tail " << list.tail << "), nodes "
        << Joined(list.nodes) << "\n";
    if (list.shape != ListShape::Whole) {
        out << "  " << name << " list " << velmo_parent::DescribeShape(list.shape) << "\n";
    }
    return list.shape == ListShape::Whole || list.shape == ListShape::Changing;
}

Finding ShowLists(const ChannelSnapshot& snapshot, std::ostream& out) {
    if (!snapshot.initialised) {
        out << "  not initialised: its maker has not written the lists\n";
        return Finding::Good;
    }
    const bool freeGood = ShowList("free", snapshot.free, out);
    const bool usedGood = ShowList("used", snapshot.used, out);
    out << "  in hand: " << snapshot.inHand.size() << ", nodes " << Joined(snapshot.inHand) << "\n";
    if (!snapshot.inBoth.empty()) out << "  in both lists, damaged: nodes " << Joined(snapshot.inBoth) << "\n";
    if (!snapshot.misnumbered.empty()) {
        out << "  with another slot's number, damaged: nodes " << Joined(snapshot.misnumbered) << "\n";
    }
    const bool good = freeGood && usedGood && snapshot.inBoth.empty() && snapshot.misnumbered.empty();
    return good ? Finding::Good : Finding::Damaged;
}

Finding ShowChannel(const std::string& id, const ChannelKind& kind, platform::KernelObjects& kernelObjects,
                    std::ostream& out) {
    out << id << kind.suffix << ", " << kind.what << ": ";
    const std::unique_ptr<platform::NamedMapping> mapping =
        kernelObjects.OpenMapping(id + kind.suffix + "_shm", platform::MappingAccess::ReadOnly);
    if (!mapping) {
        out << "not there\n";
        return Finding::Absent;
    }
    const std::byte* const view = mapping->Map(kind.layout.mappingSize);
    if (view == nullptr) {
        out << "a mapping that can't be read, or has fewer than " << kind.layout.mappingSize << " bytes\n";
        return Finding::Damaged;
    }
    const std::span bytes(view, kind.layout.mappingSize);
    out << kind.layout.mappingSize << " bytes, " << kind.layout.slotCount << " slots of " << kind.layout.stride
        << " bytes\n";
    const ChannelSnapshot snapshot = velmo_parent::TakeSnapshot(bytes, kind.layout);
    const Finding finding = ShowLists(snapshot, out);
    if (!snapshot.used.nodes.empty()) {
        const std::int32_t oldest = snapshot.used.nodes.front();
        out << "  oldest: " << kind.describe(velmo_parent::SlotIn(bytes, kind.layout, oldest).data()) << "\n";
    }
    return finding;
}

}  // namespace

int Inspect(const std::string& id, platform::KernelObjects& kernelObjects, std::ostream& out, std::ostream& errors) {
    std::vector<Finding> findings;
    for (const ChannelKind& kind : kKinds)
        findings.push_back(ShowChannel(id, kind, kernelObjects, out));
    if (std::all_of(findings.begin(), findings.end(), [](Finding one) { return one == Finding::Absent; })) {
        errors << "velmo: no channel of the id \"" << id << "\" is there; is its process running, under this user?\n";
        return 1;
    }
    return std::find(findings.begin(), findings.end(), Finding::Damaged) == findings.end() ? 0 : 2;
}

}  // namespace velmo_tool
