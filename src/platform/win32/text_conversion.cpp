#include "platform/text_conversion.h"

#include <windows.h>

namespace platform {
namespace {

class CodePageConversion final : public TextConversion {
 public:
    int WideToBytes(CodePage codePage, const wchar_t* text, char* buffer, int capacity) override {
        return ::WideCharToMultiByte(static_cast<UINT>(codePage), 0, text, -1, buffer, capacity, nullptr, nullptr);
    }

    int BytesToWide(CodePage codePage, const char* text, wchar_t* buffer, int capacity) override {
        return ::MultiByteToWideChar(static_cast<UINT>(codePage), 0, text, -1, buffer, capacity);
    }
};

}  // namespace

TextConversion& SystemTextConversion() {
    static CodePageConversion& conversion =
        *new CodePageConversion;  // never destroyed: destructors of globals may still come here
    return conversion;
}

}  // namespace platform
