#pragma once

#include <string>

#include "platform/text_conversion.h"

// Conversion between wide and byte text. Texts are read up to their first NUL. Thread: any.
namespace infra {

// The lenient pair: what can't be converted gives the empty text. A result that is not empty ends with a NUL char that
// belongs to it: it is one longer than what is seen, and what is appended to it stands behind that NUL. The empty
// source gives that NUL alone. Throws std::bad_alloc only.
std::string WideToUtf8(const std::wstring& text, platform::CodePage codePage = platform::CodePage::Utf8);
std::string WideToUtf8(const std::wstring& text, platform::CodePage codePage, platform::TextConversion& conversion);
std::wstring Utf8ToWide(const std::string& text, platform::CodePage codePage = platform::CodePage::Utf8);
std::wstring Utf8ToWide(const std::string& text, platform::CodePage codePage, platform::TextConversion& conversion);

// Gives exactly the visible chars in UTF-8. Throws std::runtime_error with "Failed to convert wstring to string (length
// calculation)." or "Failed to convert wstring to string (conversion).", and std::bad_alloc.
std::string WideToUtf8Strict(const std::wstring& text);
std::string WideToUtf8Strict(const std::wstring& text, platform::TextConversion& conversion);

}  // namespace infra
