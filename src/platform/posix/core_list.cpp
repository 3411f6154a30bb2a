#include "platform/core_list.h"

#include <cstring>

#include "platform/posix/processor_files.h"

namespace platform {
namespace {

class CoreFiles final : public CoreList {
 public:
    bool Exists() override { return true; }

    std::uint32_t Read(std::span<std::byte> buffer, std::uint32_t& lengthBytes) override {
        const auto cores = posix::ReadCores(posix::kProcessorFolder);
        if (!cores) return kNotSupported;
        const std::size_t bytes = cores->size() * sizeof(ProcessorRelation);
        lengthBytes = static_cast<std::uint32_t>(bytes);
        if (buffer.size() < bytes) return kInsufficientBuffer;
        std::memcpy(buffer.data(), cores->data(), bytes);
        return 0;
    }

 private:
    static constexpr std::uint32_t kNotSupported = 50;  // in the words of the call that this stands for
};

}  // namespace

CoreList& SystemCoreList() {
    static CoreFiles& files = *new CoreFiles;  // never destroyed: destructors of globals may still come here
    return files;
}

}  // namespace platform
