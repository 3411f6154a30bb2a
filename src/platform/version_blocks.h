#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace platform {

// The product version of a file, as its version block holds it: 16 bits for each of four numbers.
struct ProductVersion {
    std::uint32_t mostSignificant = 0;   // major in the high word, minor in the low one
    std::uint32_t leastSignificant = 0;  // build and revision, likewise
};

// The version blocks in the system's program files. Each operation is one call, so that its caller decides on order.
// Linux has no such blocks: there all of them fail. Thread: any.
class VersionBlocks {
 public:
    virtual ~VersionBlocks() = default;

    // Writes the folder of the system, terminated and without a separator at its end, to `buffer`. Returns its length
    // in chars without the terminator; 0 when it fails; the room it needs when the buffer is too small.
    virtual std::uint32_t SystemFolder(std::span<wchar_t> buffer) = 0;

    // The bytes of a file's block, 0 when it has none or can't be read.
    virtual std::uint32_t BlockBytes(const std::wstring& path) = 0;

    // Copies a file's block. False on failure.
    virtual bool ReadBlock(const std::wstring& path, std::span<std::byte> block) = 0;

    // Finds the product version in a block that was read. False when it isn't there.
    virtual bool FindProductVersion(std::span<const std::byte> block, ProductVersion& version) = 0;
};

// The operating system's own.
VersionBlocks& SystemVersionBlocks();

}  // namespace platform
