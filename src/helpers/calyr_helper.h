#pragma once

#include <cstdint>

namespace rvo_calyr {

class RvoHvqInput;
class RvoHvqOutput;
struct _CalyrPortraitOption;

// Turns video frames into masks and what else its family of models gives. The statuses stand in helpers/status.h.
// The order of the operations is part of this interface.
class IRvoCalyrHelper {
 public:
    virtual ~IRvoCalyrHelper() = default;

    // Brings up an engine by `option`, or asks for another one. `option` is valid for the call. Throws what asking the
    // engine for its input's shape throws (std::exception), filesystem errors, and std::bad_alloc; what becomes of that
    // is the host's to say.
    // Thread: the entry thread. Lock: the host's m_ipcMutex held, so that no frame comes meanwhile.
    virtual std::uint32_t Init(const _CalyrPortraitOption& option) = 0;

    // Works on one frame. What it finds goes to `output`, whose own status tells what became of it; the result here
    // tells whether there was a round at all. Either may be null: that is answered with kStatusBadArguments. Both are
    // valid for the call. `output` is of the class that the host chose, which may lack what the family gives.
    // Whatever of std::exception a round throws is answered with kStatusInferenceFailed. What is thrown outside of one
    // the host passes on, and nobody catches it.
    // Thread: the frame reader's. Lock: the host's m_ipcMutex held.
    virtual std::uint32_t Infer(const RvoHvqInput* input, RvoHvqOutput* output) = 0;

    // Holds a place in the order of the operations. Nothing calls it.
    virtual void Reserved() = 0;
};

}  // namespace rvo_calyr
