#include "infra/module_directory.h"

#include <cstring>
#include <optional>
#include <string>

namespace infra {
namespace {

constexpr std::int32_t kDone = 0;
constexpr std::int32_t kFailed = 1;
constexpr std::int32_t kBufferTooSmall = 2;

}  // namespace

std::int32_t GetModuleDirectory(const void* address, char* buffer, std::size_t size) {
    return GetModuleDirectory(address, buffer, size, platform::SystemModuleFiles());
}

std::int32_t GetModuleDirectory(const void* address, char* buffer, std::size_t size, platform::ModuleFiles& files) {
    if (address == nullptr) {
        return kFailed;
    }
    const std::optional<std::string> path = files.FileOf(address);
    if (!path) {
        return kFailed;
    }
    const std::size_t separatorAt = path->rfind(g_pathSeparator);
    if (separatorAt == std::string::npos) {
        return kFailed;
    }
    if (separatorAt >= size) {
        return kBufferTooSmall;
    }
    std::memcpy(buffer, path->data(), separatorAt);
    buffer[separatorAt] = '\0';
    return kDone;
}

}  // namespace infra
