#include "platform/posix/object_name.h"

#include <array>
#include <cerrno>
#include <cstdint>
#include <string_view>

namespace platform::posix {
namespace {

constexpr std::array<std::string_view, 2> kNamespacePrefixes = {"Global\\", "Local\\"};

std::string_view WithoutNamespace(std::string_view name) {
    for (const std::string_view prefix : kNamespacePrefixes) {
        if (name.substr(0, prefix.size()) == prefix) return name.substr(prefix.size());
    }
    return name;
}

bool TravelsUnchanged(char byte) {
    return (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z') || (byte >= '0' && byte <= '9') ||
           byte == '_' || byte == '.' || byte == '-';
}

void AppendHex(std::string& text, std::uint64_t value, int digits) {
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    for (int shift = 4 * (digits - 1); shift >= 0; shift -= 4)
        text += kDigits[(value >> shift) & 15U];
}

// 128-bit FNV-1a: the prime is 2^88 + 0x13B, so a multiplication is one by 0x13B and one shift by 88.
void AppendHash(std::string& text, std::string_view bytes) {
    constexpr std::uint64_t kPrimeLow = 0x13B;
    std::uint64_t high = 0x6C62272E07BB0142;
    std::uint64_t low = 0x62B821756295C58D;
    for (const char byte : bytes) {
        low ^= static_cast<unsigned char>(byte);
        const std::uint64_t lowerHalf = (low & 0xFFFFFFFF) * kPrimeLow;
        const std::uint64_t carry = ((low >> 32) * kPrimeLow + (lowerHalf >> 32)) >> 32;
        high = high * kPrimeLow + carry + (low << 24);
        low *= kPrimeLow;
    }
    AppendHex(text, high, 16);
    AppendHex(text, low, 16);
}

}  // namespace

std::string ObjectFileName(ObjectKind kind, const std::string& name, int& error) {
    constexpr std::size_t kHashBytes = 33;
    const std::string_view bare = WithoutNamespace(name);
    error = 0;
    if (name.size() > kMaxObjectNameBytes) {
        error = ENAMETOOLONG;
    } else if (bare.empty() || bare.find('\0') != std::string_view::npos) {
        error = EINVAL;
    } else if (bare.find('\\') != std::string_view::npos) {
        error = ENOENT;
    }
    if (error != 0) return {};

    std::string fileName(kind == ObjectKind::Event ? kEventFilePrefix : kMappingFilePrefix);
    for (const char byte : bare) {
        if (TravelsUnchanged(byte)) {
            fileName += byte;
        } else {
            fileName += '%';
            AppendHex(fileName, static_cast<unsigned char>(byte), 2);
        }
    }
    if (fileName.size() > kMaxFileNameBytes) {
        fileName.resize(kMaxFileNameBytes - kHashBytes);
        fileName += '=';
        AppendHash(fileName, bare);
    }
    return fileName;
}

}  // namespace platform::posix
