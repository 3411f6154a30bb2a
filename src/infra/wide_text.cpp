#include "infra/wide_text.h"

#include <cstddef>
#include <stdexcept>

namespace infra {
namespace {

// convert(buffer, capacity) is one direction of TextConversion for a given text.
template <typename Text, typename Convert>
Text ConvertLeniently(const Convert& convert) {
    const int needed = convert(nullptr, 0);
    if (needed <= 0) {
        return {};
    }
    Text result(static_cast<std::size_t>(needed) + 1, typename Text::value_type());
    const int written = convert(result.data(), needed + 1);
    if (written < 0) {
        return {};
    }
    result.resize(static_cast<std::size_t>(written));  // the terminator is counted, and so stays in the result
    return result;
}

}  // namespace

std::string WideToUtf8(const std::wstring& text, platform::CodePage codePage) {
    return WideToUtf8(text, codePage, platform::SystemTextConversion());
}

std::string WideToUtf8(const std::wstring& text, platform::CodePage codePage, platform::TextConversion& conversion) {
    return ConvertLeniently<std::string>(
        [&](char* buffer, int capacity) { return conversion.WideToBytes(codePage, text.c_str(), buffer, capacity); });
}

std::wstring Utf8ToWide(const std::string& text, platform::CodePage codePage) {
    return Utf8ToWide(text, codePage, platform::SystemTextConversion());
}

std::wstring Utf8ToWide(const std::string& text, platform::CodePage codePage, platform::TextConversion& conversion) {
    return ConvertLeniently<std::wstring>([&](wchar_t* buffer, int capacity) {
        return conversion.BytesToWide(codePage, text.c_str(), buffer, capacity);
    });
}

std::string WideToUtf8Strict(const std::wstring& text) {
    return WideToUtf8Strict(text, platform::SystemTextConversion());
}

std::string WideToUtf8Strict(const std::wstring& text, platform::TextConversion& conversion) {
    const int needed = conversion.WideToBytes(platform::CodePage::Utf8, text.c_str(), nullptr, 0);
    if (needed <= 0) {
        throw std::runtime_error("Failed to convert wstring to string (length calculation).");
    }
    std::string result(static_cast<std::size_t>(needed) - 1, '\0');
    // The terminator goes where the string keeps its own.
    if (conversion.WideToBytes(platform::CodePage::Utf8, text.c_str(), result.data(), needed) == 0) {
        throw std::runtime_error("Failed to convert wstring to string (conversion).");
    }
    return result;
}

}  // namespace infra
