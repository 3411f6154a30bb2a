#include "helpers/calyr_output.h"

#include <cstring>

#include "helpers/record_writing.h"

namespace rvo_calyr {
namespace {

template <std::size_t Count>
std::unique_ptr<std::array<float, Count>> MakeZeros() {
    return std::make_unique<std::array<float, Count>>();
}

// The field and the buffer hold the same number of floats, or it does not compile.
template <std::size_t Count>
void CopyFloats(float (&field)[Count], const std::array<float, Count>& floats) {
    std::memcpy(field, floats.data(), sizeof(field));
}

}  // namespace

RvoCalyrOutput::RvoCalyrOutput(const calyr_ipc::IpcFrameHeader& frameHeader)
    : RvoHvqOutput(frameHeader),
      gesture(MakeZeros<kGestureFloats>()),
      landmarks(MakeZeros<kLandmarksFloats>()),
      lutVertices(MakeZeros<kLutVerticesFloats>()),
      lut(MakeZeros<kLutFloats>()) {}

void RvoCalyrOutput::CopyToIpcRecord(calyr_ipc::OutputSlot& slot) const {
    using Record = calyr_ipc::RvoCalyrIpcOutput;
    WriteRecord<Record>(slot, [this](Record& record) {
        record.status = status;
        if (IsDeliverable()) {
            // In the order in which the fields lie: one pass forward over 1.5 MB of shared memory.
            record.header = header;
            CopyAndZeroRest(record.mask, mask.get(), maskLength);
            CopyFloats(record.gesture, *gesture);
            record.maskLength = maskLength;
            CopyFloats(record.landmarks, *landmarks);
            record.motion = motion;
            CopyFloats(record.lutVertices, *lutVertices);
            CopyFloats(record.lut, *lut);
        } else {
            ZeroBytes(record, offsetof(Record, header), offsetof(Record, padding1490988));
        }
    });
}

}  // namespace rvo_calyr
