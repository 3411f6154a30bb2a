#include "engine/absolute_path.h"

#include <cstdint>
#include <string_view>

namespace hvq::util {
namespace {

constexpr std::uint32_t kFirstCapacity = 260;  // in characters; enough for nearly every path on Windows

template <typename Text>
Text Absolute(const Text& path, std::string_view operation, const LoaderSeams& seams) {
    Text buffer(kFirstCapacity, typename Text::value_type());
    std::uint32_t length = seams.modules.FullPath(path, buffer.data(), kFirstCapacity);
    if (length > kFirstCapacity) {
        const std::uint32_t capacity = length;
        buffer.assign(capacity, typename Text::value_type());
        length = seams.modules.FullPath(path, buffer.data(), capacity);
    }
    // Larger than the room that was asked for: another thread has changed the current directory between the calls, and
    // there is nothing in the buffer.
    if (length == 0 || length > buffer.size()) {
        const std::string error = std::to_string(seams.modules.LastError());
        seams.streams.Write(platform::StandardStream::Error,
                            std::string(operation) + " failed with error code: " + error + "\n");
        return {};
    }
    buffer.resize(length);
    return buffer;
}

}  // namespace

std::string GetAbsoluteFilePath(const std::string& path, const LoaderSeams& seams) {
    return Absolute(path, "GetFullPathNameA", seams);
}

std::wstring GetAbsoluteFilePathW(const std::wstring& path, const LoaderSeams& seams) {
    return Absolute(path, "GetFullPathNameW", seams);
}

}  // namespace hvq::util
