#include "platform/version_blocks.h"

#include <windows.h>

namespace platform {
namespace {

class SystemCalls final : public VersionBlocks {
 public:
    std::uint32_t SystemFolder(std::span<wchar_t> buffer) override {
        return ::GetSystemWindowsDirectoryW(buffer.data(), static_cast<UINT>(buffer.size()));
    }

    std::uint32_t BlockBytes(const std::wstring& path) override {
        DWORD unused = 0;
        return ::GetFileVersionInfoSizeW(path.c_str(), &unused);
    }

    bool ReadBlock(const std::wstring& path, std::span<std::byte> block) override {
        return ::GetFileVersionInfoW(path.c_str(), 0, static_cast<DWORD>(block.size()), block.data()) != 0;
    }

    bool FindProductVersion(std::span<const std::byte> block, ProductVersion& version) override {
        void* found = nullptr;
        UINT bytes = 0;
        if (::VerQueryValueW(block.data(), L"\\", &found, &bytes) == 0) return false;
        if (found == nullptr || bytes < sizeof(VS_FIXEDFILEINFO)) return false;
        const auto* const fixed = static_cast<const VS_FIXEDFILEINFO*>(found);
        version = {fixed->dwProductVersionMS, fixed->dwProductVersionLS};
        return true;
    }
};

}  // namespace

VersionBlocks& SystemVersionBlocks() {
    static SystemCalls& calls = *new SystemCalls;  // never destroyed: destructors of globals may still come here
    return calls;
}

}  // namespace platform
