#include "velmo_report/base64.h"

#include <cstddef>

namespace velmo_report {

std::string Base64(std::span<const std::uint8_t> bytes) {
    constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    constexpr std::size_t kGroup = 3;
    std::string text;
    text.reserve((bytes.size() + 2) / kGroup * 4);
    for (std::size_t at = 0; at < bytes.size(); at += kGroup) {
        std::uint32_t group = 0;
        for (std::size_t i = 0; i < kGroup; ++i)
            group = group << 8 | (at + i < bytes.size() ? bytes[at + i] : 0U);
        for (std::size_t digit = 0; digit < 4; ++digit)
            text += at + digit <= bytes.size() ? kDigits[group >> (18 - 6 * digit) & 63U] : '=';
    }
    return text;
}

}  // namespace velmo_report
