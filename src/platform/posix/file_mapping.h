#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/kernel_objects.h"
#include "platform/posix/object_file.h"
#include "platform/posix/shared_view.h"

namespace platform::posix {

// Named memory: a file of zeros and one view of it.
class FileMapping final : public NamedMapping {
 public:
    FileMapping(ObjectFile file, MappingAccess access) : m_file(std::move(file)), m_access(access) {}

    std::byte* Map(std::uint64_t bytes) override;
    void Unmap() override { m_view.Unmap(); }

 private:
    ObjectFile m_file;  // declared before the view: whoever comes after the last user may cut the file
    MappingAccess m_access;
    SharedView m_view;
};

}  // namespace platform::posix
