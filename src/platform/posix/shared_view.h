#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/kernel_objects.h"

namespace platform::posix {

// Owns a view of a file's beginning, shared with everybody else who looks at the file.
class SharedView {
 public:
    SharedView() noexcept = default;
    SharedView(const SharedView&) = delete;
    SharedView& operator=(const SharedView&) = delete;
    ~SharedView() { Unmap(); }

    // Replaces the view by one of the first `bytes` bytes. False when the system refused, with the reason in errno.
    // The file has to be as long as that, rounded up to pages: an access behind a file's end kills the process.
    bool Map(int file, std::uint64_t bytes, MappingAccess access);
    void Unmap();

    // Null when there is no view.
    std::byte* Begin() const { return m_begin; }

 private:
    std::byte* m_begin = nullptr;
    std::size_t m_bytes = 0;
};

}  // namespace platform::posix
