#include "standin/fingerprint.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace standin {
namespace {

// Spreads every bit of a word over all of it.
std::uint64_t Mix(std::uint64_t word) {
    word = (word ^ (word >> 32)) * 0xD6E8FEB86659FD93;
    word = (word ^ (word >> 32)) * 0xD6E8FEB86659FD93;
    return word ^ (word >> 32);
}

}  // namespace

Digest Fingerprint(std::span<const std::uint8_t> bytes) {
    // Two lanes that see every word, each in a way of its own.
    std::uint64_t first = Mix(bytes.size() + 1);
    std::uint64_t second = Mix(~first);
    for (std::size_t at = 0; at < bytes.size(); at += sizeof(std::uint64_t)) {
        std::uint64_t word = 0;
        std::memcpy(&word, bytes.data() + at, std::min(sizeof(word), bytes.size() - at));
        first = std::rotl((first ^ word) * 0x9E3779B97F4A7C15, 29);
        second = std::rotl((second + word) * 0xC2B2AE3D27D4EB4F, 37) ^ word;
    }
    const std::array<std::uint64_t, 2> words = {Mix(first ^ std::rotl(second, 32)), Mix(second + first)};
    Digest digest;
    for (std::size_t i = 0; i < digest.size(); ++i) {
        digest[i] = static_cast<std::uint8_t>(words[i / 8] >> (8 * (i % 8)));
    }
    return digest;
}

Digest Fingerprint(std::string_view text) {
    return Fingerprint({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
}

std::string Hex(const Digest& digest) {
    std::string text;
    for (const std::uint8_t byte : digest) {
        text += "0123456789abcdef"[byte >> 4];
        text += "0123456789abcdef"[byte & 15];
    }
    return text;
}

}  // namespace standin
