#pragma once

#include <cstddef>
#include <cstdint>

#include "ipc/records/variant_slot.h"
#include "ipc/wire_assert.h"

// A frame on its way in, and its results on their way out. The pixels travel inside the slot.
namespace calyr_ipc {

// The largest frame: 640 × 360.
inline constexpr std::uint32_t kMaskCapacity = 230400;   // bytes, one per pixel
inline constexpr std::uint32_t kFrameCapacity = 691200;  // bytes, three planes

// Travels with each frame. What is opaque belongs to the parent and comes back as it was sent.
struct IpcFrameHeader {
    std::byte opaque0[4];
    std::uint32_t width;   // pixels
    std::uint32_t height;  // pixels
    std::byte opaque12[4];
    std::uint64_t stampMs;  // on output, when the mask was made, in milliseconds of the steady clock; opaque on input
    std::byte opaque24[8];
};
WIRE_RECORD(IpcFrameHeader, 32, 8);
WIRE_FIELD(IpcFrameHeader, opaque0, 0, 4);
WIRE_FIELD(IpcFrameHeader, width, 4, 4);
WIRE_FIELD(IpcFrameHeader, height, 8, 4);
WIRE_FIELD(IpcFrameHeader, opaque12, 12, 4);
WIRE_FIELD(IpcFrameHeader, stampMs, 16, 8);
WIRE_FIELD(IpcFrameHeader, opaque24, 24, 8);

struct RvoCalyrIpcInput {
    std::uint8_t temporalEnabled;  // frames may be skipped when it is set
    std::uint8_t padding1[3];
    std::uint32_t dataSize;             // bytes in data that count, at most kFrameCapacity; input: check it
    std::uint8_t data[kFrameCapacity];  // three planes of width × height bytes, no row padding
    IpcFrameHeader header;
};
WIRE_RECORD(RvoCalyrIpcInput, 691240, 8);
WIRE_FIELD(RvoCalyrIpcInput, temporalEnabled, 0, 1);
WIRE_FIELD(RvoCalyrIpcInput, padding1, 1, 3);
WIRE_FIELD(RvoCalyrIpcInput, dataSize, 4, 4);
WIRE_FIELD(RvoCalyrIpcInput, data, 8, 691200);
WIRE_FIELD(RvoCalyrIpcInput, header, 691208, 32);

using InputSlot = VariantSlot<RvoCalyrIpcInput>;
WIRE_RECORD(InputSlot, 691248, 8);
WIRE_FIELD(InputSlot, storage, 0, 691240);
WIRE_FIELD(InputSlot, index, 691240, 1);
WIRE_FIELD(InputSlot, padding, 691241, 7);
static_assert(InputSlot::IndexOf<RvoCalyrIpcInput>() == 0);

// The mask and nothing else. With a status other than 0 all the rest is zero.
struct RvoInhouseIpcOutput {
    std::int32_t status;
    std::uint8_t padding4[4];
    IpcFrameHeader header;
    std::uint8_t mask[kMaskCapacity];  // one byte per pixel, row by row
    std::uint32_t maskLength;          // bytes in mask that count
    std::uint8_t padding230444[4];     // belongs to the record's size, and is never written
};
WIRE_RECORD(RvoInhouseIpcOutput, 230448, 8);
WIRE_FIELD(RvoInhouseIpcOutput, status, 0, 4);
WIRE_FIELD(RvoInhouseIpcOutput, padding4, 4, 4);
WIRE_FIELD(RvoInhouseIpcOutput, header, 8, 32);
WIRE_FIELD(RvoInhouseIpcOutput, mask, 40, 230400);
WIRE_FIELD(RvoInhouseIpcOutput, maskLength, 230440, 4);
WIRE_FIELD(RvoInhouseIpcOutput, padding230444, 230444, 4);

// All results. It begins as the other one does, but maskLength stands elsewhere.
struct RvoCalyrIpcOutput {
    std::int32_t status;
    std::uint8_t padding4[4];
    IpcFrameHeader header;
    std::uint8_t mask[kMaskCapacity];
    float gesture[9];
    std::uint32_t maskLength;
    float landmarks[207216];
    std::uint32_t motion;  // the bits of the layer's first element, whatever its type
    float lutVertices[99];
    float lut[107811];
    std::uint8_t padding1490988[4];
};
WIRE_RECORD(RvoCalyrIpcOutput, 1490992, 8);
WIRE_FIELD(RvoCalyrIpcOutput, status, 0, 4);
WIRE_FIELD(RvoCalyrIpcOutput, padding4, 4, 4);
WIRE_FIELD(RvoCalyrIpcOutput, header, 8, 32);
WIRE_FIELD(RvoCalyrIpcOutput, mask, 40, 230400);
WIRE_FIELD(RvoCalyrIpcOutput, gesture, 230440, 36);
WIRE_FIELD(RvoCalyrIpcOutput, maskLength, 230476, 4);
WIRE_FIELD(RvoCalyrIpcOutput, landmarks, 230480, 828864);
WIRE_FIELD(RvoCalyrIpcOutput, motion, 1059344, 4);
WIRE_FIELD(RvoCalyrIpcOutput, lutVertices, 1059348, 396);
WIRE_FIELD(RvoCalyrIpcOutput, lut, 1059744, 431244);
WIRE_FIELD(RvoCalyrIpcOutput, padding1490988, 1490988, 4);

using OutputSlot = VariantSlot<RvoInhouseIpcOutput, RvoCalyrIpcOutput>;
WIRE_RECORD(OutputSlot, 1491000, 8);
WIRE_FIELD(OutputSlot, storage, 0, 1490992);
WIRE_FIELD(OutputSlot, index, 1490992, 1);
WIRE_FIELD(OutputSlot, padding, 1490993, 7);
static_assert(OutputSlot::IndexOf<RvoInhouseIpcOutput>() == 0 && OutputSlot::IndexOf<RvoCalyrIpcOutput>() == 1);

}  // namespace calyr_ipc
