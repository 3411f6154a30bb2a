#include "helpers/hvq_input.h"

#include <cstddef>

#include "helpers/record_writing.h"

namespace rvo_calyr {

void RvoHvqInput::CopyToIpcRecord(calyr_ipc::InputSlot& slot) const {
    using Record = calyr_ipc::RvoCalyrIpcInput;
    WriteRecord<Record>(slot, [this](Record& record) {
        if (data != nullptr && dataSize <= calyr_ipc::kFrameCapacity) {
            record.temporalEnabled = temporalEnabled;
            record.dataSize = dataSize;
            CopyAndZeroRest(record.data, data, dataSize);
            record.header = header;
        } else {
            record.temporalEnabled = 0;
            ZeroBytes(record, offsetof(Record, dataSize), sizeof(Record));
        }
    });
}

}  // namespace rvo_calyr
