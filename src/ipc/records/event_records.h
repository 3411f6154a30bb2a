#pragma once

#include <cstdint>

#include "ipc/records/variant_slot.h"
#include "ipc/wire_assert.h"

// What this process tells the parent.
namespace calyr_ipc {

// 64 bits where a slot's alignment is 4. A plain std::uint64_t would make it 8, and the stride 24 instead of 20.
struct SplitU64 {
    std::uint32_t low;
    std::uint32_t high;
};
WIRE_RECORD(SplitU64, 8, 4);
WIRE_FIELD(SplitU64, low, 0, 4);
WIRE_FIELD(SplitU64, high, 4, 4);

// The answer to one IpcCommandInit.
struct IpcEventOnInit {
    SplitU64 one;         // always 1
    std::uint32_t pid;    // the sending process, read when the event is built
    std::int32_t result;  // status of Init, 0 is good
};
WIRE_RECORD(IpcEventOnInit, 16, 4);
WIRE_FIELD(IpcEventOnInit, one, 0, 8);
WIRE_FIELD(IpcEventOnInit, pid, 8, 4);
WIRE_FIELD(IpcEventOnInit, result, 12, 4);

// The process lives and wants an IpcCommandAckHeartBeat.
struct IpcEventOnHeartBeat {
    std::uint32_t meaningless;  // arbitrary; the rest of the slot keeps what it held
};
WIRE_RECORD(IpcEventOnHeartBeat, 4, 4);
WIRE_FIELD(IpcEventOnHeartBeat, meaningless, 0, 4);

using EventSlot = VariantSlot<IpcEventOnInit, IpcEventOnHeartBeat>;
WIRE_RECORD(EventSlot, 20, 4);
WIRE_FIELD(EventSlot, storage, 0, 16);
WIRE_FIELD(EventSlot, index, 16, 1);
WIRE_FIELD(EventSlot, padding, 17, 3);
static_assert(EventSlot::IndexOf<IpcEventOnInit>() == 0 && EventSlot::IndexOf<IpcEventOnHeartBeat>() == 1);

}  // namespace calyr_ipc
