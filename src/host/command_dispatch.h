#pragma once

#include "helpers/portrait_option.h"
#include "ipc/records/command_records.h"

namespace calyr_ipc {
class IpcCommandListener;
}

namespace rvo_calyr {

// The option that an Init command asks for. The three flags are the dispatcher's own (1, 0, 1), `reservedPath` stays
// empty, and the record's three texts go to `modelPath`, `enginePath` and `gpuCachePath` as they stand, a terminator or
// not. Every byte of the record is read once: it lies where its writer could still change it.
_CalyrPortraitOption OptionFrom(const calyr_ipc::IpcCommandInit& record);

// Calls the listener's operation for what the slot holds. An index that no command has goes to AckHeartBeat, as peers
// know it. Throws std::bad_variant_access for a slot that holds nothing (index -1), and what the listener throws.
// Thread: the command loop's. The slot may go back to the sender when this returns.
void DispatchCommand(const calyr_ipc::CommandSlot& slot, calyr_ipc::IpcCommandListener& listener);

}  // namespace rvo_calyr
