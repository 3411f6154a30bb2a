#pragma once

#include <cstddef>
#include <type_traits>

// Held where a record is declared, so that a compiler or a hand that moves a byte is stopped at once. The peer is a
// separate program, built to the same bytes.
#define WIRE_RECORD(T, bytes, align)                                                               \
    static_assert(sizeof(T) == (bytes) && alignof(T) == (align) && std::is_standard_layout_v<T> && \
                      std::is_trivially_copyable_v<T>,                                             \
                  #T ": the peer was built for another layout")
#define WIRE_FIELD(T, field, at, bytes) \
    static_assert(offsetof(T, field) == (at) && sizeof(T::field) == (bytes), #T "::" #field " has moved")
