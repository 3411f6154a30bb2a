#include "platform/text_conversion.h"

#include <array>
#include <climits>
#include <cstddef>
#include <cwchar>
#include <optional>
#include <string_view>

namespace platform {
namespace {

static_assert(sizeof(wchar_t) == 4, "a wide char holds a whole code point here");

constexpr char32_t kReplacement = 0xFFFD;

// Bytes that are no UTF-8 get code points that text never has, so that they can be given back: 0x80 is U+DC80, and so
// on to 0xFF. Only the thread's code page does that.
constexpr char32_t kStrayBase = 0xDC00;
constexpr char32_t kFirstStray = kStrayBase + 0x80;
constexpr char32_t kLastStray = kStrayBase + 0xFF;

bool IsScalar(char32_t point) {
    return point < 0xD800 || (point > 0xDFFF && point <= 0x10FFFF);
}

struct Sequence {
    std::array<char, 4> bytes{};
    std::size_t count = 0;
};

Sequence Encode(char32_t point, bool keepsStrays) {
    const auto byte = [](char32_t value) { return static_cast<char>(static_cast<unsigned char>(value)); };
    const auto tail = [byte](char32_t value) { return byte(0x80 | (value & 0x3F)); };
    if (keepsStrays && point >= kFirstStray && point <= kLastStray) return {{byte(point - kStrayBase)}, 1};
    if (!IsScalar(point)) point = kReplacement;
    if (point < 0x80) return {{byte(point)}, 1};
    if (point < 0x800) return {{byte(0xC0 | (point >> 6)), tail(point)}, 2};
    if (point < 0x10000) return {{byte(0xE0 | (point >> 12)), tail(point >> 6), tail(point)}, 3};
    return {{byte(0xF0 | (point >> 18)), tail(point >> 12), tail(point >> 6), tail(point)}, 4};
}

struct Decoded {
    std::optional<char32_t> point;  // nothing when the bytes are no UTF-8
    std::size_t count = 1;  // bytes taken; of broken text the longest beginning that could have become a sequence
};

// The first code point of `text`, which is not empty.
Decoded Decode(std::string_view text) {
    const auto at = [text](std::size_t index) { return static_cast<unsigned char>(text[index]); };
    const unsigned lead = at(0);
    if (lead < 0x80) return {lead, 1};
    if (lead < 0xC2 || lead > 0xF4) return {std::nullopt, 1};

    const std::size_t length = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    // The second byte's range keeps out longer forms than needed, surrogates, and what lies behind the last code point.
    const unsigned lowest = lead == 0xE0 ? 0xA0U : lead == 0xF0 ? 0x90U : 0x80U;
    const unsigned highest = lead == 0xED ? 0x9FU : lead == 0xF4 ? 0x8FU : 0xBFU;
    char32_t point = lead & (0x7FU >> length);
    for (std::size_t index = 1; index < length; ++index) {
        const bool second = index == 1;
        if (index == text.size() || at(index) < (second ? lowest : 0x80U) || at(index) > (second ? highest : 0xBFU)) {
            return {std::nullopt, index};
        }
        point = (point << 6) | (at(index) & 0x3FU);
    }
    return {point, length};
}

bool IsKnown(CodePage codePage) {
    return codePage == CodePage::System || codePage == CodePage::ThreadAnsi || codePage == CodePage::Utf8;
}

// Takes converted chars one by one; writes only what fits, and counts all.
template <typename Char>
class Sink {
 public:
    Sink(Char* buffer, int capacity) : m_buffer(buffer), m_capacity(static_cast<std::size_t>(capacity)) {}

    void Put(Char value) {
        if (m_count < m_capacity) m_buffer[m_count] = value;
        ++m_count;
    }

    // What the conversion answers: 0 when the buffer was too small, or the count too large for an int.
    int Result() const {
        if (m_count > INT_MAX || (m_capacity != 0 && m_count > m_capacity)) return 0;
        return static_cast<int>(m_count);
    }

 private:
    Char* m_buffer;
    std::size_t m_capacity;
    std::size_t m_count = 0;
};

bool CanConvert(CodePage codePage, const void* text, const void* buffer, int capacity) {
    return IsKnown(codePage) && text != nullptr && capacity >= 0 && (buffer != nullptr || capacity == 0);
}

class Utf8Conversion final : public TextConversion {
 public:
    int WideToBytes(CodePage codePage, const wchar_t* text, char* buffer, int capacity) override {
        if (!CanConvert(codePage, text, buffer, capacity)) return 0;
        Sink<char> sink(buffer, capacity);
        for (const wchar_t wide : std::wstring_view(text)) {
            const Sequence sequence = Encode(static_cast<char32_t>(wide), codePage == CodePage::ThreadAnsi);
            for (std::size_t index = 0; index < sequence.count; ++index)
                sink.Put(sequence.bytes[index]);
        }
        sink.Put('\0');
        return sink.Result();
    }

    int BytesToWide(CodePage codePage, const char* text, wchar_t* buffer, int capacity) override {
        if (!CanConvert(codePage, text, buffer, capacity)) return 0;
        Sink<wchar_t> sink(buffer, capacity);
        std::string_view rest = text;
        while (!rest.empty()) {
            const Decoded decoded = Decode(rest);
            std::size_t taken = decoded.count;
            char32_t point = kReplacement;
            if (decoded.point) {
                point = *decoded.point;
            } else if (codePage == CodePage::ThreadAnsi) {
                point = kStrayBase + static_cast<unsigned char>(rest.front());
                taken = 1;  // each byte for itself, so that none is lost
            }
            sink.Put(static_cast<wchar_t>(point));
            rest.remove_prefix(taken);
        }
        sink.Put(L'\0');
        return sink.Result();
    }
};

}  // namespace

TextConversion& SystemTextConversion() {
    static Utf8Conversion& conversion =
        *new Utf8Conversion;  // never destroyed: destructors of globals may still come here
    return conversion;
}

}  // namespace platform
