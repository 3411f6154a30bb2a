#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace platform {

// A file that is open to be read, and at most one view of it. The steps stand apart so that a caller can say which one
// failed. What is open goes with the object. Thread: one at a time.
class FileView {
 public:
    virtual ~FileView() = default;

    // In bytes. Nothing on failure.
    virtual std::optional<std::uint64_t> Size() = 0;

    // Prepares the whole file to be mapped, read-only. False on failure, and for an empty file.
    virtual bool CreateMapping() = 0;

    // The whole file, after CreateMapping. Null on failure.
    virtual const std::byte* Map() = 0;
};

// Thread: any.
class FileViews {
 public:
    virtual ~FileViews() = default;

    // Opens an existing file to be read; others may read it meanwhile, and not write. Null on failure.
    virtual std::unique_ptr<FileView> Open(const std::wstring& path) = 0;
};

// The operating system's own.
FileViews& SystemFileViews();

}  // namespace platform
