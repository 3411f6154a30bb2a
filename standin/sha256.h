#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace standin {

using Digest = std::array<std::uint8_t, 32>;

// SHA-256 of bytes that come in pieces. An object serves for one digest. Thread: one at a time.
class Sha256 {
 public:
    Sha256& Add(std::span<const std::uint8_t> bytes);
    Sha256& Add(const std::string& text);

    // The digest of all that was added; nothing can be added any more.
    Digest Finish();

 private:
    void AddBlock(const std::uint8_t* block);

    std::array<std::uint32_t, 8> m_state = {0x6A09E667, 0xBB67AE85, 0x3C6EF372, 0xA54FF53A,
                                            0x510E527F, 0x9B05688C, 0x1F83D9AB, 0x5BE0CD19};
    std::array<std::uint8_t, 64> m_block{};  // the first m_filled bytes wait for the rest
    std::size_t m_filled = 0;
    std::uint64_t m_bytes = 0;
};

// Lower-case hexadecimal digits.
std::string Hex(const Digest& digest);

}  // namespace standin
