#pragma once

#include <type_traits>

namespace ipc {

// The value of a word that lies in a mapping, read exactly once. The other process may write it at any moment, so what
// was checked has to be what is used: keep the result, and do not go back to the word. Thread: any.
template <class Value>
requires std::is_arithmetic_v<Value> Value ReadOnce(const Value& shared) {
    return *const_cast<const volatile Value*>(&shared);
}

}  // namespace ipc
