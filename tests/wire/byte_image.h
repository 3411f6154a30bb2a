#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string_view>
#include <vector>

// Bytes written down by hand, as the peer has them: little-endian words at offsets.
class ByteImage {
 public:
    // All bytes 0xCC at first, so that a byte that nobody wrote shows.
    explicit ByteImage(std::size_t size) : m_bytes(size, 0xCC) {}

    template <class Record>
    static ByteImage Of(const Record& record) {
        ByteImage image(sizeof(Record));
        std::memcpy(image.m_bytes.data(), &record, sizeof(Record));
        return image;
    }

    ByteImage& Put8(std::size_t offset, std::uint8_t value) {
        m_bytes.at(offset) = value;
        return *this;
    }
    ByteImage& Put32(std::size_t offset, std::uint32_t value) {
        for (unsigned i = 0; i < 4; ++i)
            m_bytes.at(offset + i) = static_cast<std::uint8_t>(value >> (8 * i));
        return *this;
    }
    ByteImage& Put64(std::size_t offset, std::uint64_t value) {
        return Put32(offset, static_cast<std::uint32_t>(value))
            .Put32(offset + 4, static_cast<std::uint32_t>(value >> 32));
    }
    ByteImage& PutText(std::size_t offset, std::string_view text) {
        for (std::size_t i = 0; i < text.size(); ++i)
            m_bytes.at(offset + i) = static_cast<std::uint8_t>(text[i]);
        return *this;
    }

    const std::vector<std::uint8_t>& Bytes() const { return m_bytes; }
    std::uint8_t operator[](std::size_t offset) const { return m_bytes.at(offset); }
    std::uint32_t Get32(std::size_t offset) const {
        std::uint32_t value = 0;
        for (unsigned i = 0; i < 4; ++i)
            value |= static_cast<std::uint32_t>(m_bytes.at(offset + i)) << (8 * i);
        return value;
    }

    // The same bytes as a record, on the heap: frame records are too large for a stack.
    template <class Record>
    std::unique_ptr<Record> As() const {
        auto record = std::make_unique<Record>();
        std::memcpy(record.get(), m_bytes.data(), sizeof(Record));
        return record;
    }

    // A record whose every byte is 0xCC.
    template <class Record>
    static std::unique_ptr<Record> Blank() {
        return ByteImage(sizeof(Record)).As<Record>();
    }

    friend bool operator==(const ByteImage&, const ByteImage&) = default;

 private:
    std::vector<std::uint8_t> m_bytes;
};
