#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

// Named objects that two processes share: auto-reset events and zero-filled memory. An object lives as long as its last
// user, in whichever process, however that user ends.
namespace platform {

// A time-out of this many milliseconds never runs out.
inline constexpr std::uint32_t kNoTimeLimit = 0xFFFFFFFF;

enum class WaitResult { Signalled, TimedOut, Failed };

// An event that lets one waiter through per signal. Signals do not add up: setting a set event changes nothing.
// Thread: any, also several at once.
class NamedEvent {
 public:
    virtual ~NamedEvent() = default;

    // Signals the event. False when the system refused.
    virtual bool Set() = 0;

    // Waits until the event is signalled and takes the signal. timeoutMs is in milliseconds; 0 only looks,
    // kNoTimeLimit waits without end. Durations are steady: a change of the wall clock does not matter.
    virtual WaitResult Wait(std::uint32_t timeoutMs) = 0;
};

// Memory under a name. One view at a time; the view goes with the object.
// Thread: one at a time.
class NamedMapping {
 public:
    virtual ~NamedMapping() = default;

    // Makes the first `bytes` bytes visible and returns where they begin, aligned to a page; an earlier view goes. Null
    // when the mapping is smaller than that (rounded up to whole pages of 4096 bytes), when bytes is 0, or when the
    // system refused; the error is then in LastError.
    virtual std::byte* Map(std::uint64_t bytes) = 0;

    // Takes the view away; harmless when there is none.
    virtual void Unmap() = 0;
};

enum class MappingAccess { ReadOnly, ReadWrite };

// Where named objects come from. Names are byte strings without NUL; what Windows would refuse (more than 259 bytes, a
// backslash that does not end the prefix "Global\" or "Local\") is refused everywhere, and so is an empty name, which
// nobody could find again. One name must not be used for an event and a mapping.
// Thread: any.
class KernelObjects {
 public:
    virtual ~KernelObjects() = default;

    // The event of this name, made unsignalled when there is none. Null on failure.
    virtual std::unique_ptr<NamedEvent> CreateOrOpenEvent(const std::string& name) = 0;

    // The mapping of this name. Null when there is none (LastError is then 2 on all systems), or on failure.
    virtual std::unique_ptr<NamedMapping> OpenMapping(const std::string& name, MappingAccess access) = 0;

    // The mapping of this name, made zero-filled with `bytes` bytes when there is none. One that exists is opened as it
    // stands, with the size that it has. Null on failure, and when bytes is 0.
    virtual std::unique_ptr<NamedMapping> CreateMapping(const std::string& name, std::uint32_t bytes) = 0;

    // The system's number for the calling thread's latest failure here; ask at once. Closing objects keeps it.
    virtual std::uint32_t LastError() const = 0;
};

// The operating system's own.
KernelObjects& SystemKernelObjects();

}  // namespace platform
