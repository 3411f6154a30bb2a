#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "ipc/channel_layout.h"
#include "ipc/list_steps.h"
#include "platform/kernel_objects.h"
#include "velmo_parent/outcome.h"

namespace velmo_parent {

// The named objects of one channel: its two events and its mapping.
// Thread: Open and Close while nobody else is here; the rest any.
class ChannelObjects {
 public:
    // kernelObjects must outlive this.
    ChannelObjects(const ipc::ChannelLayout& layout, platform::KernelObjects& kernelObjects)
        : m_layout(layout), m_kernelObjects(kernelObjects) {}

    // Attaches to the channel `name`, or makes it when it isn't there. Called once. After a failure nothing is open.
    //
    // Either side may come first. Only when both come at the very same moment, each before the other has made the
    // mapping, can the process wipe what was made here: so open before the process starts, or when it runs.
    Outcome Open(const std::string& name);
    void Close();

    bool IsOpen() const { return m_view != nullptr; }
    // True when Open found no channel and made it.
    bool WasMade() const { return m_wasMade; }

    // All of these: only while open.
    ipc::AtomicWords Words() const;
    std::byte* SlotAt(std::int32_t node) const;  // node in 0 to slotCount - 1
    platform::NamedEvent& Available() const { return *m_available; }
    platform::NamedEvent& Filled() const { return *m_filled; }

 private:
    Outcome OpenMapping(const std::string& mappingName);
    Outcome FailureOf(const std::string& what) const;

    const ipc::ChannelLayout m_layout;
    platform::KernelObjects& m_kernelObjects;
    std::unique_ptr<platform::NamedEvent> m_available;  // "a slot became free"
    std::unique_ptr<platform::NamedEvent> m_filled;     // "a slot was filled"
    std::unique_ptr<platform::NamedMapping> m_mapping;
    std::byte* m_view = nullptr;  // goes with m_mapping
    bool m_wasMade = false;
};

}  // namespace velmo_parent
