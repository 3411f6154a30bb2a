#include "host/command_dispatch.h"

#include <cstring>

#include "ipc/listeners.h"

namespace rvo_calyr {

_CalyrPortraitOption OptionFrom(const calyr_ipc::IpcCommandInit& record) {
    static_assert(sizeof(record.modelPath) == kPathBytes && sizeof(record.enginePath) == kPathBytes &&
                      sizeof(record.gpuCachePath) == kPathBytes,
                  "the texts of the command and of the option are of one size");
    _CalyrPortraitOption option;
    option.flag0 = 1;
    option.flag1 = 0;
    option.flag2 = 1;
    option.deviceType = record.deviceType;
    option.modelQuality = record.modelQuality;
    option.modelType = record.modelType;
    std::memcpy(option.modelPath, record.modelPath, kPathBytes);
    std::memcpy(option.enginePath, record.enginePath, kPathBytes);
    std::memcpy(option.gpuCachePath, record.gpuCachePath, kPathBytes);
    return option;
}

void DispatchCommand(const calyr_ipc::CommandSlot& slot, calyr_ipc::IpcCommandListener& listener) {
    // The index is read once, and the order of the cases is that of the records, not of the listener's operations.
    switch (calyr_ipc::RequireAlternative(slot)) {
        case 0:
            listener.Init(OptionFrom(slot.As<calyr_ipc::IpcCommandInit>()));
            break;
        case 1:
            listener.Fini(slot.As<calyr_ipc::IpcCommandFini>());
            break;
        case 2:
            listener.Terminate(slot.As<calyr_ipc::IpcCommandTerminate>());
            break;
        default:
            listener.AckHeartBeat(slot.As<calyr_ipc::IpcCommandAckHeartBeat>());
            break;
    }
}

}  // namespace rvo_calyr
