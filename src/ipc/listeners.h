#pragma once

#include "ipc/records/command_records.h"

namespace rvo_calyr {
class RvoHvqInput;
struct _CalyrPortraitOption;
}  // namespace rvo_calyr

// Who takes what the parent sends. The order of the operations is part of these interfaces.
namespace calyr_ipc {

// Takes the commands, one at a time, on the thread that reads the command channel. A record is valid for the call.
class IpcCommandListener {
 public:
    // Brings up an engine by `option`. Its status goes to the parent as an event, so nothing is returned.
    virtual void Init(const rvo_calyr::_CalyrPortraitOption& option) = 0;
    virtual void Fini(const IpcCommandFini& record) = 0;
    virtual void AckHeartBeat(const IpcCommandAckHeartBeat& record) = 0;
    virtual void Terminate(const IpcCommandTerminate& record) = 0;

 protected:
    ~IpcCommandListener() = default;  // nobody owns a listener through this
};

// Takes the frames, one at a time, on the thread that reads the input channel.
class IpcInputFrameListener {
 public:
    // `input` points into the slot and is valid for the call.
    virtual void OnInputFrame(rvo_calyr::RvoHvqInput& input) = 0;

 protected:
    ~IpcInputFrameListener() = default;
};

}  // namespace calyr_ipc
