#pragma once

#include <cstdint>
#include <memory>

#include "platform/kernel_objects.h"
#include "platform/posix/object_file.h"
#include "platform/posix/shared_view.h"

namespace platform::posix {

// An auto-reset event: one 32-bit word at the start of a shared file, 1 when signalled and 0 when not, and the system's
// wait queue on that word. Any other value, which only a peer that has lost its way writes, counts as a signal. No lock
// is held by anyone, so a killed process leaves nothing locked.
class FileEvent final : public NamedEvent {
 public:
    static constexpr std::uint64_t kFileBytes = sizeof(std::uint32_t);

    // Null when the file can't be looked at; the reason is in LastError.
    static std::unique_ptr<FileEvent> Attach(ObjectFile file);

    bool Set() override;
    WaitResult Wait(std::uint32_t timeoutMs) override;

 private:
    explicit FileEvent(ObjectFile file) : m_file(std::move(file)) {}

    bool TakeSignal();

    ObjectFile m_file;  // declared before the view: whoever comes after the last user may cut the file
    SharedView m_view;
    std::uint32_t* m_word = nullptr;  // every process with the event writes it; only touched as an atomic
};

}  // namespace platform::posix
