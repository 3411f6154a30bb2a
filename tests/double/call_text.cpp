#include "call_text.h"

#include <string_view>
#include <type_traits>

namespace hvq_double {
namespace {

void AppendQuoted(std::string& call, std::string_view text) {
    call += " \"";
    for (const char one : text) {
        if (one == '\n') {
            call += "\\n";
            continue;
        }
        if (one == '"' || one == '\\') call += '\\';
        call += one;
    }
    call += '"';
}

void AppendUtf8(std::string& bytes, std::uint32_t point) {
    const auto put = [&](std::uint32_t value) { bytes += static_cast<char>(static_cast<unsigned char>(value)); };
    const auto tail = [&](int shift) { put(0x80 | ((point >> shift) & 0x3F)); };
    if (point < 0x80) {
        put(point);
    } else if (point < 0x800) {
        put(0xC0 | (point >> 6));
        tail(0);
    } else if (point >= 0xDC80 && point <= 0xDCFF) {
        put(point - 0xDC00);  // a byte of a path that is no UTF-8
    } else if (point < 0x10000) {
        put(0xE0 | (point >> 12));
        tail(6);
        tail(0);
    } else {
        put(0xF0 | (point >> 18));
        tail(12);
        tail(6);
        tail(0);
    }
}

std::uint32_t Unit(wchar_t wide) {
    return static_cast<std::make_unsigned_t<wchar_t>>(wide);
}

std::string ToUtf8(const wchar_t* text) {
    std::string bytes;
    for (; *text != L'\0'; ++text) {
        std::uint32_t point = Unit(*text);
        if constexpr (sizeof(wchar_t) == 2) {
            const std::uint32_t next = Unit(text[1]);
            if (point >= 0xD800 && point < 0xDC00 && next >= 0xDC00 && next < 0xE000) {
                point = 0x10000 + ((point - 0xD800) << 10) + (next - 0xDC00);
                ++text;
            }
        }
        AppendUtf8(bytes, point);
    }
    return bytes;
}

}  // namespace

void Append(std::string& call, Text text) {
    if (text.value == nullptr) {
        call += " null";
    } else {
        AppendQuoted(call, text.value);
    }
}

void Append(std::string& call, WideText text) {
    if (text.value == nullptr) {
        call += " null";
    } else {
        AppendQuoted(call, ToUtf8(text.value));
    }
}

void Append(std::string& call, Pointer pointer) {
    call += pointer.value == nullptr ? " null" : " set";
}

void Append(std::string& call, Number number) {
    call.append(" ").append(std::to_string(number.value));
}

void Append(std::string& call, Numbers numbers) {
    if (numbers.values == nullptr) {
        call += " null";
        return;
    }
    call += " [";
    for (std::uint64_t index = 0; index < numbers.count; ++index) {
        if (index != 0) call += ',';
        call += std::to_string(numbers.values[index]);
    }
    call += ']';
}

}  // namespace hvq_double
