#include "infra/number_text.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "infra/system_error.h"
#include "infra/text_formator.h"

namespace infra {
namespace {

constexpr char kDigits[] = "0123456789abcdefghijklmnopqrstuvwxyz";

}  // namespace

SignedMagnitude SplitSign(std::int64_t value) {
    const auto bits = static_cast<std::uint64_t>(value);
    // Negated without sign: the smallest value has no positive counterpart.
    return value < 0 ? SignedMagnitude{~bits + 1, true} : SignedMagnitude{bits, false};
}

std::errc WriteNumber(SignedMagnitude number, std::int32_t radix, std::span<char> scratch) {
    const auto base = static_cast<std::uint64_t>(radix < kMinRadix || radix > kMaxRadix ? 10 : radix);
    std::array<char, 65> reversed;  // 64 binary digits and a sign
    std::size_t count = 0;
    std::uint64_t rest = number.magnitude;
    do {
        reversed[count++] = kDigits[rest % base];
        rest /= base;
    } while (rest != 0);
    if (number.isNegative) {
        reversed[count++] = '-';
    }
    if (count + 1 > scratch.size()) {
        scratch.front() = '\0';
        return std::errc::value_too_large;
    }
    const auto first = reversed.begin();
    std::reverse_copy(first, first + static_cast<std::ptrdiff_t>(count), scratch.begin());
    scratch[count] = '\0';
    return std::errc();
}

void AppendNumber(TextFormator& line, SignedMagnitude number, std::int32_t radix, std::span<char> scratch) {
    const std::errc outcome = WriteNumber(number, radix, scratch);
    if (outcome == std::errc()) {
        line.Append(scratch.data());
    } else {
        line.Append(GenericErrorText(outcome).c_str());
    }
}

}  // namespace infra
