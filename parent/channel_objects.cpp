#include "velmo_parent/channel_objects.h"

#include <span>

#include "velmo_parent/peer_lists.h"

namespace velmo_parent {
namespace {

template <class Type>
Type* At(std::byte* view, std::size_t offset) {
    return static_cast<Type*>(static_cast<void*>(view + offset));
}

// Initialised lists always have an end that isn't 0.
bool IsUninitialised(ipc::AtomicWords words) {
    for (const ipc::List list : {ipc::List::Free, ipc::List::Used}) {
        for (const ipc::End end : {ipc::End::Head, ipc::End::Tail}) {
            if (words.Load(list, end) != 0) return false;
        }
    }
    return true;
}

}  // namespace

Outcome ChannelObjects::Open(const std::string& name) {
    m_available = m_kernelObjects.CreateOrOpenEvent(name + "_evt_avl");
    if (!m_available) return FailureOf("event " + name + "_evt_avl");
    m_filled = m_kernelObjects.CreateOrOpenEvent(name + "_evt_fld");
    Outcome outcome = m_filled ? OpenMapping(name + "_shm") : FailureOf("event " + name + "_evt_fld");
    if (!outcome) Close();
    return outcome;
}

Outcome ChannelObjects::OpenMapping(const std::string& mappingName) {
    m_mapping = m_kernelObjects.OpenMapping(mappingName, platform::MappingAccess::ReadWrite);
    const bool attached = m_mapping != nullptr;
    if (!attached) m_mapping = m_kernelObjects.CreateMapping(mappingName, m_layout.mappingSize);
    if (!m_mapping) return FailureOf("mapping " + mappingName);
    m_view = m_mapping->Map(m_layout.mappingSize);
    if (m_view == nullptr) return FailureOf("view of mapping " + mappingName);
    // A mapping that appeared between the two calls has its maker: what that one put there stays.
    if (!attached && IsUninitialised(Words())) {
        ipc::AtomicWords words = Words();
        MakeLists(words);
        m_wasMade = true;
    }
    return Outcome::Success();
}

void ChannelObjects::Close() {
    m_view = nullptr;
    m_mapping.reset();
    m_filled.reset();
    m_available.reset();
}

Outcome ChannelObjects::FailureOf(const std::string& what) const {
    return Outcome::Failure("no " + what + ", error " + std::to_string(m_kernelObjects.LastError()));
}

ipc::AtomicWords ChannelObjects::Words() const {
    const auto count = static_cast<std::size_t>(m_layout.slotCount);
    return {*At<ipc::channel_header>(m_view, 0),
            std::span(At<ipc::channel_node>(m_view, sizeof(ipc::channel_header)), count)};
}

std::byte* ChannelObjects::SlotAt(std::int32_t node) const {
    return m_view + m_layout.slots_offset + static_cast<std::size_t>(m_layout.stride) * static_cast<std::size_t>(node);
}

}  // namespace velmo_parent
