#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

// Where in the headers of an image the facts stand that a loader looks at. All numbers are little-endian.
namespace hvq::util {

// Images of Windows: a header of the old system, and the NT headers where it says.
inline constexpr std::size_t kDosHeaderBytes = 64;
inline constexpr std::uint16_t kDosMagic = 0x5A4D;
inline constexpr std::size_t kNtHeadersField = 60;          // 32 bits, signed
inline constexpr std::int32_t kNtHeadersLast = 0x10000000;  // nothing sane begins further behind
inline constexpr std::uint32_t kPeSignature = 0x00004550;
inline constexpr std::size_t kPeSignatureBytes = 4;
inline constexpr std::size_t kCoffHeaderBytes = 20;
inline constexpr std::size_t kCharacteristicsField = 18;  // in the COFF header, 16 bits
inline constexpr std::uint16_t kIsDll = 0x2000;
inline constexpr std::uint64_t kNtHeadersBytes = 264;  // of a 64-bit image, signature included
inline constexpr std::size_t kMachineField = 4;        // in the NT headers, 16 bits

// Images of Linux: one header at the beginning.
inline constexpr std::size_t kElfHeaderBytes = 64;  // of a 64-bit image
inline constexpr std::uint32_t kElfMagic = 0x464C457F;
inline constexpr std::size_t kElfClassField = 4;  // a byte
inline constexpr std::uint8_t kElf64Bit = 2;
inline constexpr std::size_t kElfOrderField = 5;  // a byte
inline constexpr std::uint8_t kElfLittleEndian = 1;
inline constexpr std::size_t kElfTypeField = 16;  // 16 bits
inline constexpr std::uint16_t kElfSharedObject = 3;
inline constexpr std::size_t kElfMachineField = 18;  // 16 bits

// The number at `at`. Bytes behind the end read as zero, as in the rest of a mapping's last page.
inline std::uint16_t Read16(std::span<const std::byte> bytes, std::uint64_t at) {
    const auto byte = [bytes](std::uint64_t index) {
        return index < bytes.size() ? std::to_integer<std::uint16_t>(bytes[static_cast<std::size_t>(index)])
                                    : std::uint16_t{0};
    };
    return static_cast<std::uint16_t>(byte(at) | byte(at + 1) << 8);
}

inline std::uint32_t Read32(std::span<const std::byte> bytes, std::uint64_t at) {
    return std::uint32_t{Read16(bytes, at)} | std::uint32_t{Read16(bytes, at + 2)} << 16;
}

}  // namespace hvq::util
