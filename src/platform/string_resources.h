#pragma once

#include <cstdint>

namespace platform {

// The string table that the executable carries in its resources. Thread: any.
class StringResources {
 public:
    virtual ~StringResources() = default;

    // Copies string `id` of the module `instance` (null: the program itself) into `buffer` of `capacity` wide chars,
    // terminated, cut where it is too long. Returns the chars copied without the terminator, 0 when there is no such
    // string; the buffer's first char is then 0. Systems without string tables never have one.
    virtual int Load(void* instance, std::uint32_t id, wchar_t* buffer, int capacity) = 0;
};

// The operating system's own.
StringResources& SystemStringResources();

}  // namespace platform
