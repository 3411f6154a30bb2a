#pragma once

#include <cstdint>
#include <cstring>
#include <mutex>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>

#include "standin/engine.h"
#include "standin/texts.h"

// What every exported function does around its own work: find the engine, take its lock, keep exceptions in.
namespace standin {

// Runs `work` on the engine behind a handle and returns its result; `fallback` for a null handle, and when `work`
// throws, which leaves the engine's pending text. `function` is the exported name, for that text.
template <typename Result, typename Work>
Result Call(HvqEngine handle, const char* function, Result fallback, const Work& work) noexcept {
    if (handle == nullptr) return fallback;
    Engine& engine = *static_cast<Engine*>(handle);
    const std::lock_guard lock(engine.Mutex());
    try {
        return work(engine);
    } catch (...) {
        engine.Pending().Set(function, std::current_exception());
        return fallback;
    }
}

// The same for work without a result.
template <typename Work>
void Do(HvqEngine handle, const char* function, const Work& work) noexcept {
    (void)Call(handle, function, 0, [&work](Engine& engine) {
        work(engine);
        return 0;
    });
}

// A pointer that must not be null. `what` is its name in the text.
template <typename T>
T* Needed(T* pointer, const char* what) {
    if (pointer == nullptr) throw std::runtime_error(std::string(what) + " is null");
    return pointer;
}

inline std::string_view Text(const char* text, const char* what) {
    return Needed(text, what);
}
inline std::string Text(const wchar_t* text, const char* what) {
    return Utf8FromWide(std::wstring_view(Needed(text, what)));
}

// A length or a number of entries, for an int32 result.
inline std::int32_t Count(std::size_t count) {
    return static_cast<std::int32_t>(count);
}

// Writes exactly the chars of `text`, no terminator.
inline void CopyOut(std::string_view text, char* buffer) {
    (void)text.copy(Needed(buffer, "buffer"), text.size());
}

// Serves those of a pair of pointers that aren't null.
template <typename Length>
void CopyOut(std::string_view text, Length* length, char* buffer) {
    if (length != nullptr) *length = static_cast<Length>(text.size());
    if (buffer != nullptr) (void)text.copy(buffer, text.size());
}

// The entry of a list. `what` is a list's name in the text.
template <typename List>
const auto& At(const List& list, std::int32_t index, const char* what) {
    if (index < 0 || static_cast<std::size_t>(index) >= std::size(list)) {
        throw std::runtime_error("index " + std::to_string(index) + " is outside the list of " + what + ", which has " +
                                 std::to_string(std::size(list)));
    }
    return list[static_cast<std::size_t>(index)];
}

}  // namespace standin
