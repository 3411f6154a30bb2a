#pragma once

#include <cstddef>
#include <cstdint>

#include "ipc/records/variant_slot.h"
#include "ipc/wire_assert.h"

// What the parent asks of this process.
namespace calyr_ipc {

// Bring up an engine. Answered by one IpcEventOnInit.
struct IpcCommandInit {
    std::byte unread[12];
    std::int32_t deviceType;    // 0 "AUTO", 1 "CPU", 2 "GPU", 3 "NPU"; unchecked here
    std::int32_t modelQuality;  // 0 is 256 × 144, 1 is 640 × 360; unchecked here
    std::int32_t modelType;     // model family, 0 to 2; unchecked here
    char modelPath[1024];       // the texts end at the first NUL, or where the field ends
    char enginePath[1024];
    char gpuCachePath[1024];
};
WIRE_RECORD(IpcCommandInit, 3096, 4);
WIRE_FIELD(IpcCommandInit, unread, 0, 12);
WIRE_FIELD(IpcCommandInit, deviceType, 12, 4);
WIRE_FIELD(IpcCommandInit, modelQuality, 16, 4);
WIRE_FIELD(IpcCommandInit, modelType, 20, 4);
WIRE_FIELD(IpcCommandInit, modelPath, 24, 1024);
WIRE_FIELD(IpcCommandInit, enginePath, 1048, 1024);
WIRE_FIELD(IpcCommandInit, gpuCachePath, 2072, 1024);

// The other three say all that they say by their index; nobody looks at their bytes.
struct IpcCommandFini {};          // logged, and nothing else
struct IpcCommandTerminate {};     // ends the process with exit code 0
struct IpcCommandAckHeartBeat {};  // answers every IpcEventOnHeartBeat since the last acknowledgement

using CommandSlot = VariantSlot<IpcCommandInit, IpcCommandFini, IpcCommandTerminate, IpcCommandAckHeartBeat>;
WIRE_RECORD(CommandSlot, 3100, 4);
WIRE_FIELD(CommandSlot, storage, 0, 3096);
WIRE_FIELD(CommandSlot, index, 3096, 1);
WIRE_FIELD(CommandSlot, padding, 3097, 3);
static_assert(CommandSlot::IndexOf<IpcCommandInit>() == 0 && CommandSlot::IndexOf<IpcCommandFini>() == 1 &&
              CommandSlot::IndexOf<IpcCommandTerminate>() == 2 && CommandSlot::IndexOf<IpcCommandAckHeartBeat>() == 3);

}  // namespace calyr_ipc
