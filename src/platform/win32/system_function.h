#pragma once

namespace platform::win32 {

using AnyFunction = void (*)();

// The function of this name in a library of the system's that is loaded already. Null when there is none.
AnyFunction FindFunction(const wchar_t* library, const char* name);

// The same, as what it is. Function is the type of a pointer to it.
template <class Function>
Function FindSystemFunction(const wchar_t* library, const char* name) {
    return reinterpret_cast<Function>(FindFunction(library, name));
}

}  // namespace platform::win32
