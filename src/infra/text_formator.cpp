#include "infra/text_formator.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <utility>

namespace infra {
namespace {

constexpr std::int32_t kUsualRadix = 10;
constexpr std::size_t kScratchChars = 79;

}  // namespace

TextFormator::TextFormator(char* buffer, std::uint32_t capacity)
    : m_buffer(buffer), m_capacity(capacity), m_length(0), m_radix(kUsualRadix) {
    m_buffer[0] = '\0';
}

TextFormator& TextFormator::Append(const char* text) {
    if (text == nullptr) {
        return *this;
    }
    const std::size_t room = m_capacity - m_length - 1;
    const std::size_t count = std::min(std::strlen(text), room);
    if (count == 0) {
        return *this;
    }
    std::memmove(m_buffer + m_length, text, count);  // the text may be a piece of this very line
    m_length += static_cast<std::uint32_t>(count);
    m_buffer[m_length] = '\0';
    return *this;
}

TextFormator& TextFormator::operator<<(const char* text) {
    return Append(text);
}

TextFormator& TextFormator::operator<<(const std::string& text) {
    return Append(text.c_str());
}

TextFormator& TextFormator::operator<<(std::int32_t value) {
    return AppendInRadix(SplitSign(value));
}

TextFormator& TextFormator::operator<<(std::uint32_t value) {
    return AppendInRadix({value, false});
}

TextFormator& TextFormator::operator<<(std::int64_t value) {
    return AppendInRadix(SplitSign(value));
}

TextFormator& TextFormator::operator<<(std::uint64_t value) {
    return AppendInRadix({value, false});
}

TextFormator& TextFormator::operator<<(std::uint8_t value) {
    return AppendInRadix({value, false});
}

TextFormator& TextFormator::operator<<(const void* pointer) {
    Append("0x");
    m_radix = 16;
    return *this << static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(pointer));
}

void TextFormator::SetRadix(std::int32_t radix) {
    m_radix = radix;
}

std::int32_t TextFormator::Radix() const {
    return m_radix;
}

const char* TextFormator::Text() const {
    return m_buffer;
}

std::uint32_t TextFormator::Length() const {
    return m_length;
}

char* TextFormator::Reset() {
    m_length = 0;
    m_radix = kUsualRadix;
    m_buffer[0] = '\0';
    return m_buffer;
}

TextFormator& TextFormator::AppendInRadix(SignedMagnitude number) {
    const std::int32_t radix = std::exchange(m_radix, kUsualRadix);
    std::array<char, kScratchChars + 1> scratch;
    AppendNumber(*this, number, radix, scratch);
    return *this;
}

}  // namespace infra
