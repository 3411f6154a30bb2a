#include "helpers/hvq_output.h"

#include <algorithm>
#include <cstddef>
#include <limits>

#include "helpers/pixel_count.h"
#include "helpers/record_writing.h"
#include "helpers/status.h"

namespace rvo_calyr {
namespace {

std::uint32_t MaskLength(const calyr_ipc::IpcFrameHeader& header) {
    constexpr std::uint64_t kMost = std::numeric_limits<std::uint32_t>::max();
    return static_cast<std::uint32_t>(std::min(PixelCount(header), kMost));
}

std::unique_ptr<std::uint8_t[]> MakeMask(std::uint32_t length) {
    if (length > calyr_ipc::kMaskCapacity) return nullptr;
    return std::make_unique<std::uint8_t[]>(length);
}

}  // namespace

RvoHvqOutput::RvoHvqOutput(const calyr_ipc::IpcFrameHeader& frameHeader)
    : status(static_cast<std::int32_t>(kStatusNothingWritten)),
      header(frameHeader),
      maskLength(MaskLength(frameHeader)),
      mask(MakeMask(maskLength)) {}

void RvoHvqOutput::CopyToIpcRecord(calyr_ipc::OutputSlot& slot) const {
    using Record = calyr_ipc::RvoInhouseIpcOutput;
    WriteRecord<Record>(slot, [this](Record& record) {
        record.status = status;
        if (IsDeliverable()) {
            record.header = header;
            CopyAndZeroRest(record.mask, mask.get(), maskLength);
            record.maskLength = maskLength;
        } else {
            ZeroBytes(record, offsetof(Record, header), offsetof(Record, padding230444));
        }
    });
}

}  // namespace rvo_calyr
