#include "platform/version_blocks.h"

namespace platform {
namespace {

class NoBlocks final : public VersionBlocks {
 public:
    std::uint32_t SystemFolder(std::span<wchar_t> /*buffer*/) override { return 0; }
    std::uint32_t BlockBytes(const std::wstring& /*path*/) override { return 0; }
    bool ReadBlock(const std::wstring& /*path*/, std::span<std::byte> /*block*/) override { return false; }
    bool FindProductVersion(std::span<const std::byte> /*block*/, ProductVersion& /*version*/) override {
        return false;
    }
};

}  // namespace

VersionBlocks& SystemVersionBlocks() {
    static NoBlocks& blocks = *new NoBlocks;  // never destroyed: destructors of globals may still come here
    return blocks;
}

}  // namespace platform
