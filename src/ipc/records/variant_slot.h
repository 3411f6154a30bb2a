#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <variant>

#include "ipc/read_once.h"

namespace calyr_ipc {

// The index of a slot that holds no alternative: its writer is still at work.
inline constexpr std::int8_t kNoAlternative = -1;

// A slot that holds one of several records. All of them begin at offset 0; behind the storage of the largest stands the
// index of the one that counts, and then padding up to the slot's alignment. std::variant is no help here: where it
// keeps its index, and in how many bytes, is each library's own affair.
//
// A plain aggregate, for use in shared memory: nothing is constructed, and As() is valid whatever the index says.
template <class... Records>
struct VariantSlot {
    static_assert((std::is_trivially_copyable_v<Records> && ...) && (std::is_standard_layout_v<Records> && ...));
    static_assert(sizeof...(Records) >= 1 && sizeof...(Records) <= 127);

    static constexpr std::size_t kAlignment = std::max({alignof(Records)...});
    static constexpr std::size_t kStorageBytes =
        (std::max({sizeof(Records)...}) + kAlignment - 1) / kAlignment * kAlignment;
    static_assert(kAlignment > 1, "the padding below would be empty");

    // The index of `Record` in the list. Does not compile for a record that isn't there.
    template <class Record>
    static constexpr std::int8_t IndexOf() {
        static_assert((std::is_same_v<Record, Records> || ...), "no alternative of this slot");
        std::int8_t position = 0;
        (void)((std::is_same_v<Record, Records> ? true : (++position, false)) || ...);
        return position;
    }

    // The bytes of the slot as `Record`. What the index says is not looked at.
    template <class Record>
    Record& As() {
        static_assert((std::is_same_v<Record, Records> || ...), "no alternative of this slot");
        return *static_cast<Record*>(static_cast<void*>(storage));
    }
    template <class Record>
    const Record& As() const {
        static_assert((std::is_same_v<Record, Records> || ...), "no alternative of this slot");
        return *static_cast<const Record*>(static_cast<const void*>(storage));
    }

    alignas(kAlignment) std::byte storage[kStorageBytes];
    std::int8_t index;
    std::byte padding[kAlignment - 1];  // spelled out, so that the size is the same for every compiler
};

// The index of `slot`, read once: use the result, the peer may change the slot. Any value but -1 is given as it is,
// also one that names no alternative. Throws std::bad_variant_access for -1; nothing catches it: the peer's writer
// broke the protocol, and the process ends.
template <class... Records>
std::int8_t RequireAlternative(const VariantSlot<Records...>& slot) {
    const std::int8_t index = ipc::ReadOnce(slot.index);
    if (index == kNoAlternative) throw std::bad_variant_access();
    return index;
}

}  // namespace calyr_ipc
