#include "engine/image_headers/library_headers.h"

#include <array>
#include <cstdint>

#include "engine/image_headers/image_format_facts.h"

namespace hvq::util {
namespace {

// Both readers of headers keep bounds of their own, on purpose: this one decides whether a file is loaded and asks for
// no more of it than it looks at.

constexpr std::int64_t kSmallestBytes = kDosHeaderBytes + kPeSignatureBytes;

template <std::size_t N>
bool Read(std::istream& file, std::array<std::byte, N>& bytes) {
    std::array<char, N> chars{};
    if (!file.read(chars.data(), static_cast<std::streamsize>(N))) return false;
    for (std::size_t index = 0; index < N; ++index)
        bytes[index] = static_cast<std::byte>(chars[index]);
    return true;
}

// Negative on failure.
std::int64_t SizeOf(std::istream& file) {
    if (!file.seekg(0, std::ios::end)) return -1;
    const auto size = static_cast<std::int64_t>(std::streamoff(file.tellg()));
    return file.seekg(0, std::ios::beg) ? size : -1;
}

bool HasPeLibraryHeaders(std::istream& file, std::int64_t fileBytes, std::int32_t ntHeadersAt) {
    if (ntHeadersAt < 0 || ntHeadersAt > kNtHeadersLast) return false;
    if (ntHeadersAt + std::int64_t{kPeSignatureBytes} > fileBytes) return false;
    if (!file.seekg(ntHeadersAt, std::ios::beg)) return false;
    std::array<std::byte, kPeSignatureBytes> signature{};
    if (!Read(file, signature) || Read32(signature, 0) != kPeSignature) return false;
    std::array<std::byte, kCoffHeaderBytes> coff{};
    return Read(file, coff) && (Read16(coff, kCharacteristicsField) & kIsDll) != 0;
}

bool IsElfLibraryHeader(const std::array<std::byte, kElfHeaderBytes>& header) {
    return Read32(header, 0) == kElfMagic && header[kElfClassField] == std::byte{kElf64Bit} &&
           header[kElfOrderField] == std::byte{kElfLittleEndian} && Read16(header, kElfTypeField) == kElfSharedObject;
}

}  // namespace

bool HasLibraryHeaders(std::istream& file, platform::ImageFormat nativeImages) {
    static_assert(kElfHeaderBytes == kDosHeaderBytes, "one read serves both");
    const std::int64_t bytes = SizeOf(file);
    if (bytes < kSmallestBytes) return false;
    std::array<std::byte, kDosHeaderBytes> header{};
    if (!Read(file, header)) return false;
    if (nativeImages == platform::ImageFormat::Elf && IsElfLibraryHeader(header)) return true;
    if (Read16(header, 0) != kDosMagic) return false;
    return HasPeLibraryHeaders(file, bytes, static_cast<std::int32_t>(Read32(header, kNtHeadersField)));
}

}  // namespace hvq::util
