#include "platform/command_tail.h"

#include <windows.h>

#include "platform/win32/wide_text.h"

namespace platform {

// The program's name ends at the first blank outside of quotes, wherever in the name these stand.
std::string CommandTail(int /*argumentCount*/, const char* const* /*arguments*/) {
    const auto isBlank = [](wchar_t value) { return value == L' ' || value == L'\t'; };
    const wchar_t* rest = ::GetCommandLineW();
    bool quoted = false;
    for (; *rest != L'\0' && (quoted || !isBlank(*rest)); ++rest) {
        if (*rest == L'"') quoted = !quoted;
    }
    while (isBlank(*rest))
        ++rest;
    return win32::ToBytes(CP_THREAD_ACP, rest);
}

}  // namespace platform
