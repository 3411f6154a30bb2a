#include "platform/win32/system_function.h"

#include <windows.h>

namespace platform::win32 {

AnyFunction FindFunction(const wchar_t* library, const char* name) {
    const HMODULE module = ::GetModuleHandleW(library);
    return module == nullptr ? nullptr : reinterpret_cast<AnyFunction>(::GetProcAddress(module, name));
}

}  // namespace platform::win32
