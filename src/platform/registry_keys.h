#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace platform {

// A key that is open; closed by its destructor.
class RegistryKey {
 public:
    virtual ~RegistryKey() = default;

    // Reads a value of 32 bits into `number`. False when there is none of this name and size; what stands in `number`
    // then is up to the system, and normally as before.
    virtual bool ReadNumber(const std::wstring& name, std::uint32_t& number) = 0;
};

// The facts that the system keeps about its machine, by key and name. Linux has none but the processor's: its nominal
// frequency under the names that Windows has for it. Thread: any. Throws std::bad_alloc.
class RegistryKeys {
 public:
    virtual ~RegistryKeys() = default;

    // Opens a key of the machine by its path. `accessMask` has the system's own bits. Null on failure.
    virtual std::unique_ptr<RegistryKey> OpenMachineKey(const std::wstring& path, std::uint32_t accessMask) = 0;
};

// The operating system's own.
RegistryKeys& SystemRegistryKeys();

}  // namespace platform
