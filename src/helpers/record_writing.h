#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "ipc/records/variant_slot.h"

// How a record is written into its slot: once per byte, since the largest has 1.5 MB and goes out with every frame.
namespace rvo_calyr {

// Has `write(Record&)` write a record into the slot, which says meanwhile that it holds none, and behind it that it
// holds a whole one.
template <class Record, class... Records, class Write>
void WriteRecord(calyr_ipc::VariantSlot<Records...>& slot, const Write& write) {
    const std::atomic_ref<std::int8_t> index(slot.index);
    // An exchange, because a compiler may leave out a plain store that is followed by another, and may move what comes
    // next in front of it.
    (void)index.exchange(calyr_ipc::kNoAlternative);
    write(slot.template As<Record>());
    index.store(calyr_ipc::VariantSlot<Records...>::template IndexOf<Record>());
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
