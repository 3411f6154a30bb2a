#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "ipc/records/variant_slot.h"

// How a record is written into its slot: once per byte, since the largest has 1.5 MB and goes out with every frame.
namespace rvo_calyr {

// Says that the slot holds no record while one is written. An exchange, because a compiler may leave out a plain store
// that is followed by another, and may move what comes next in front of it.
template <class... Records>
void BeginRecord(calyr_ipc::VariantSlot<Records...>& slot) {
    (void)std::atomic_ref<std::int8_t>(slot.index).exchange(calyr_ipc::kNoAlternative);
}

// Says that the slot holds a whole `Record`.
template <class Record, class... Records>
void EndRecord(calyr_ipc::VariantSlot<Records...>& slot) {
    std::atomic_ref<std::int8_t>(slot.index).store(calyr_ipc::VariantSlot<Records...>::template IndexOf<Record>());
}

// Fills a field with `count` bytes from `bytes` and zeros behind them. `count` is at most the field's size; `bytes`
// may be null when it is 0.
template <std::size_t Bytes>
void CopyAndZeroRest(std::uint8_t (&field)[Bytes], const std::uint8_t* bytes, std::size_t count) {
    if (count > 0) std::memcpy(field, bytes, count);
    if (count < Bytes) std::memset(field + count, 0, Bytes - count);
}

// Zeros the bytes of a record from offset `from` up to offset `end`: fields in one go that have no padding between
// them.
template <class Record>
void ZeroBytes(Record& record, std::size_t from, std::size_t end) {
    std::memset(reinterpret_cast<std::byte*>(&record) + from, 0, end - from);
}

}  // namespace rvo_calyr
