#include "velmo_report/html_text.h"

#include <algorithm>
#include <cstddef>

#include "velmo_report/number_format.h"

namespace velmo_report {
namespace {

using Byte = unsigned char;

// How many bytes of one character of UTF-8 stand at the beginning of `text`, which is not empty; 0 for none.
std::size_t CharacterBytes(std::string_view text) {
    const auto byte = [&](std::size_t at) { return at < text.size() ? static_cast<Byte>(text[at]) : Byte{0}; };
    const Byte first = byte(0);
    std::size_t length = 1;
    Byte least = 0x80;  // of the second byte: below it the character would have a shorter form, or is none
    Byte most = 0xBF;
    if (first < 0x80) return 1;
    if (first >= 0xC2 && first <= 0xDF) {
        length = 2;
    } else if (first >= 0xE0 && first <= 0xEF) {
        length = 3;
        if (first == 0xE0) least = 0xA0;
        if (first == 0xED) most = 0x9F;
    } else if (first >= 0xF0 && first <= 0xF4) {
        length = 4;
        if (first == 0xF0) least = 0x90;
        if (first == 0xF4) most = 0x8F;
    } else {
        return 0;
    }
    if (byte(1) < least || byte(1) > most) return 0;
    for (std::size_t at = 2; at < length; ++at) {
        if (byte(at) < 0x80 || byte(at) > 0xBF) return 0;
    }
    return length;
}

void AppendHex(Byte byte, std::string& escaped) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    escaped += {'\\', 'x', kDigits[byte >> 4], kDigits[byte & 0xF]};
}

// One character, in whole.
void AppendCharacter(std::string_view character, std::string& escaped) {
    const auto first = static_cast<Byte>(character.front());
    if (character == "&") {
        escaped += "&amp;";
    } else if (character == "<") {
        escaped += "&lt;";
    } else if (character == ">") {
        escaped += "&gt;";
    } else if (character == "\"") {
        escaped += "&quot;";
    } else if (character == "'") {
        escaped += "&#39;";
    } else if (first < 0x20 || first == 0x7F) {
        AppendHex(first, escaped);
    } else {
        escaped += character;
    }
}

}  // namespace

std::string Escaped(std::string_view text) {
    std::string escaped;
    while (!text.empty()) {
        const std::size_t bytes = CharacterBytes(text);
        if (bytes == 0) {
            AppendHex(static_cast<Byte>(text.front()), escaped);
        } else {
            AppendCharacter(text.substr(0, bytes), escaped);
        }
        text.remove_prefix(std::max<std::size_t>(1, bytes));
    }
    return escaped;
}

std::string PageNumbers::Text(const std::string& pointer, int decimals) const {
    return Fixed(m_json.at(nlohmann::ordered_json::json_pointer(pointer)).get<double>(), decimals);
}

std::string PageNumbers::Number(const std::string& pointer, int decimals) const {
    return "<span class=\"n\" data-json=\"" + pointer + "\" data-decimals=\"" + std::to_string(decimals) + "\">" +
           Text(pointer, decimals) + "</span>";
}

std::string PageNumbers::Marks(const std::string& pointer, int decimals) const {
    return "data-json=\"" + pointer + "\" data-decimals=\"" + std::to_string(decimals) + "\" data-value=\"" +
           Text(pointer, decimals) + "\"";
}

}  // namespace velmo_report
