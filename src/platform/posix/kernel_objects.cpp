#include "platform/kernel_objects.h"

#include <cerrno>

#include "platform/posix/file_event.h"
#include "platform/posix/file_mapping.h"
#include "platform/posix/last_error.h"
#include "platform/posix/object_file.h"

namespace platform {
namespace {

class FileObjects final : public KernelObjects {
 public:
    std::unique_ptr<NamedEvent> CreateOrOpenEvent(const std::string& name) override {
        auto file = posix::ObjectFile::CreateOrOpen(posix::ObjectKind::Event, name, posix::FileEvent::kFileBytes);
        if (!file) return nullptr;
        return posix::FileEvent::Attach(*std::move(file));
    }

    std::unique_ptr<NamedMapping> OpenMapping(const std::string& name, MappingAccess access) override {
        auto file = posix::ObjectFile::OpenExisting(posix::ObjectKind::Mapping, name);
        if (!file) return nullptr;
        return std::make_unique<posix::FileMapping>(*std::move(file), access);
    }

    std::unique_ptr<NamedMapping> CreateMapping(const std::string& name, std::uint32_t bytes) override {
        if (bytes == 0) {
            posix::SetLastError(EINVAL);
            return nullptr;
        }
        auto file = posix::ObjectFile::CreateOrOpen(posix::ObjectKind::Mapping, name, bytes);
        if (!file) return nullptr;
        return std::make_unique<posix::FileMapping>(*std::move(file), MappingAccess::ReadWrite);
    }

    std::uint32_t LastError() const override { return posix::LastError(); }
};

}  // namespace

KernelObjects& SystemKernelObjects() {
    static FileObjects& objects = *new FileObjects;  // never destroyed: destructors of globals may still come here
    return objects;
}

}  // namespace platform
