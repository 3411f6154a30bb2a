#pragma once

#include <cstdint>
#include <string>

// Images of libraries, as far as their headers go, made by hand.
namespace images {

inline void Put16(std::string& bytes, std::size_t at, std::uint16_t value) {
    bytes[at] = static_cast<char>(value & 0xFF);
    bytes[at + 1] = static_cast<char>(value >> 8);
}

inline void Put32(std::string& bytes, std::size_t at, std::uint32_t value) {
    Put16(bytes, at, static_cast<std::uint16_t>(value & 0xFFFF));
    Put16(bytes, at + 2, static_cast<std::uint16_t>(value >> 16));
}

inline constexpr std::uint16_t kPeAmd64 = 0x8664;
inline constexpr std::uint16_t kDll = 0x2000;
inline constexpr std::size_t kPeBytes = 64 + 264;  // the smallest whose machine is read
inline constexpr std::size_t kElfBytes = 64;

// The NT headers' beginning, put at `at`.
inline void PutNtHeaders(std::string& bytes, std::size_t at, std::uint16_t machine, std::uint16_t characteristics) {
    Put32(bytes, at, 0x00004550);
    Put16(bytes, at + 4, machine);
    Put16(bytes, at + 22, characteristics);
}

// A library for Windows.
inline std::string Pe(std::uint16_t machine = kPeAmd64, std::uint16_t characteristics = kDll) {
    std::string bytes(kPeBytes, '\0');
    Put16(bytes, 0, 0x5A4D);
    Put32(bytes, 60, 64);
    PutNtHeaders(bytes, 64, machine, characteristics);
    return bytes;
}

// Only the beginning of one: 64 bytes that say where the NT headers should be.
inline std::string DosHeader(std::int32_t ntHeadersAt) {
    std::string bytes(64, '\0');
    Put16(bytes, 0, 0x5A4D);
    Put32(bytes, 60, static_cast<std::uint32_t>(ntHeadersAt));
    return bytes;
}

inline constexpr std::uint16_t kElfAmd64 = 62;
inline constexpr std::uint16_t kSharedObject = 3;

// A library for Linux, padded to what any library has to have.
inline std::string Elf(std::uint16_t machine = kElfAmd64, std::uint16_t type = kSharedObject) {
    std::string bytes = std::string(
        "\x7F"
        "ELF\x02\x01\x01",
        7);
    bytes.resize(kElfBytes + 4, '\0');
    Put16(bytes, 16, type);
    Put16(bytes, 18, machine);
    return bytes;
}

}  // namespace images
