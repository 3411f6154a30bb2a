#include "probes/kernel_product.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>
#include <vector>

namespace probes {
namespace {

constexpr std::size_t kFolderChars = 260;

// A call that fails leaves an empty folder, and a path that no file has.
std::wstring KernelPath(platform::VersionBlocks& blocks) {
    std::array<wchar_t, kFolderChars> folder{};
    (void)blocks.SystemFolder(folder);
    return std::wstring(folder.begin(), std::find(folder.begin(), folder.end(), L'\0')) + L"\\System32\\kernel32.dll";
}

}  // namespace

std::uint32_t ReadKernelProductMajor(const platform::Machine& machine) {
    platform::VersionBlocks& blocks = machine.versionBlocks;
    const std::wstring path = KernelPath(blocks);
    const std::uint32_t bytes = blocks.BlockBytes(path);
    if (bytes == 0) return 0;  // there is no block to read
    std::vector<std::byte> block(bytes);
    if (!blocks.ReadBlock(path, block)) return 0;
    platform::ProductVersion version;
    if (!blocks.FindProductVersion(block, version)) return 0;
    return version.mostSignificant >> 16;
}

}  // namespace probes
