#include "helpers/hvq_input.h"

#include <cstring>

namespace rvo_calyr {

void RvoHvqInput::CopyToIpcRecord(calyr_ipc::InputSlot& slot) const {
    slot.index = calyr_ipc::kNoAlternative;
    calyr_ipc::RvoCalyrIpcInput& record = slot.As<calyr_ipc::RvoCalyrIpcInput>();
    std::memset(&record, 0, sizeof(record));
    if (data != nullptr && dataSize <= sizeof(record.data)) {
        record.temporalEnabled = temporalEnabled;
        record.header = header;
        record.dataSize = dataSize;
        std::memcpy(record.data, data, dataSize);
    }
    slot.index = 0;
}

}  // namespace rvo_calyr
