#include "velmo_tool/check/guarded_text.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace velmo_tool {
namespace {

constexpr std::size_t kGuardBytes = 64;
constexpr char kGuard = '\x5A';

}  // namespace

std::string FetchGuarded(std::uint64_t length, const std::function<void(char*)>& fill,
                         std::optional<std::string>& complaint) {
    if (length > kLongestText) {
        complaint = "a length of " + std::to_string(static_cast<std::int64_t>(length)) + " can't be";
        return {};
    }
    const auto size = static_cast<std::size_t>(length);
    std::vector<char> buffer(size + 1 + kGuardBytes, kGuard);
    std::fill_n(buffer.begin(), size + 1, '\0');
    fill(buffer.data());

    const auto guard = buffer.begin() + static_cast<std::ptrdiff_t>(size) + 1;
    std::string text(buffer.data(), size);
    if (!std::all_of(guard, buffer.end(), [](char byte) { return byte == kGuard; })) {
        complaint = "writes behind the room for " + std::to_string(size) + " chars and a terminator";
    } else if (buffer[size] != '\0') {
        complaint = "writes a text longer than its length of " + std::to_string(size);
    } else if (!text.empty() && text.back() == '\0' && text.find('\0') == size - 1) {
        complaint = "a length of " + std::to_string(size) + " for a text of " + std::to_string(size - 1) +
                    " chars: it counts the terminator, and no name will compare equal";
    } else if (const std::size_t end = text.find('\0'); end != std::string::npos) {
        complaint = "a length of " + std::to_string(size) + " for a text of " + std::to_string(end) + " chars";
    }
    return text;
}

}  // namespace velmo_tool
