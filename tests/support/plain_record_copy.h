#pragma once

#include <cstring>

#include "helpers/calyr_output.h"
#include "helpers/hvq_input.h"
#include "helpers/hvq_output.h"

// The definition of the three copies into a slot, step by step: first everything is wiped, then copied over it. The
// process does it in one pass; tests hold the two equal, and the benchmark compares them.
namespace support {

inline void CopyPlainly(const rvo_calyr::RvoHvqOutput& output, calyr_ipc::OutputSlot& slot) {
    slot.index = calyr_ipc::kNoAlternative;
    auto& record = slot.As<calyr_ipc::RvoInhouseIpcOutput>();
    record.status = 4;
    std::memset(&record.header, 0, sizeof(record.header));
    std::memset(record.mask, 0, sizeof(record.mask));
    record.maskLength = 0;
    record.status = output.status;
    if (output.status == 0 && output.maskLength <= 230400) {
        record.header = output.header;
        record.maskLength = output.maskLength;
        std::memcpy(record.mask, output.mask.get(), output.maskLength);
    }
    slot.index = 0;
}

inline void CopyPlainly(const rvo_calyr::RvoCalyrOutput& output, calyr_ipc::OutputSlot& slot) {
    slot.index = calyr_ipc::kNoAlternative;
    auto& record = slot.As<calyr_ipc::RvoCalyrIpcOutput>();
    record.status = 4;
    std::memset(&record.header, 0, sizeof(record.header));
    std::memset(record.mask, 0, sizeof(record.mask));
    std::memset(record.gesture, 0, sizeof(record.gesture));
    record.maskLength = 0;
    std::memset(record.landmarks, 0, sizeof(record.landmarks));
    record.motion = 0;
    std::memset(record.lutVertices, 0, sizeof(record.lutVertices));
    std::memset(record.lut, 0, sizeof(record.lut));
    record.status = output.status;
    if (output.status == 0 && output.maskLength <= 230400) {
        record.header = output.header;
        record.motion = output.motion;
        record.maskLength = output.maskLength;
        std::memcpy(record.gesture, output.gesture->data(), 36);
        std::memcpy(record.landmarks, output.landmarks->data(), 828864);
        std::memcpy(record.lutVertices, output.lutVertices->data(), 396);
        std::memcpy(record.lut, output.lut->data(), 431244);
        std::memcpy(record.mask, output.mask.get(), output.maskLength);
    }
    slot.index = 1;
}

inline void CopyPlainly(const rvo_calyr::RvoHvqInput& input, calyr_ipc::InputSlot& slot) {
    slot.index = calyr_ipc::kNoAlternative;
    auto& record = slot.As<calyr_ipc::RvoCalyrIpcInput>();
    record.temporalEnabled = 0;
    record.dataSize = 0;
    std::memset(record.data, 0, sizeof(record.data));
    std::memset(&record.header, 0, sizeof(record.header));
    if (input.data != nullptr && input.dataSize <= 691200) {
        record.temporalEnabled = input.temporalEnabled;
        record.header = input.header;
        record.dataSize = input.dataSize;
        std::memcpy(record.data, input.data, input.dataSize);
    }
    slot.index = 0;
}

}  // namespace support
