#include "velmo_run/reader_stage.h"

#include <array>
#include <exception>
#include <span>

namespace velmo_run {
namespace {

constexpr std::chrono::milliseconds kLook{100};

// False when there is none any more.
bool ReadOne(velmo_media::FrameSource& source, velmo_media::ModelFit& fit, velmo_media::Size model, FrameSlot& slot) {
    if (!source.Next(slot.picture)) return false;
    slot.name = source.FrameName();
    std::array<std::span<std::uint8_t>, 3> planes;
    for (std::size_t plane = 0; plane < planes.size(); ++plane) {
        slot.planes[plane].resize(model.Area());
        planes[plane] = slot.planes[plane];
    }
    fit.ToModel(slot.picture, planes);
    return true;
}

}  // namespace

void ReadFrames(velmo_media::FrameSource& source, velmo_media::ModelFit& fit, velmo_media::Size model,
                std::optional<std::uint64_t> most, FrameBelt& belt, StopSign& sourceFailed, const StopSign& stop) {
    try {
        std::uint64_t frame = 0;
        while (!stop.IsRaised() && (!most || frame < *most)) {
            const FrameBelt::Look look = belt.Await(Stage::Read, kLook);
            if (look == FrameBelt::Look::Ended) break;
            if (look == FrameBelt::Look::NotYet) continue;
            FrameSlot& slot = belt.Next(Stage::Read);
            if (!ReadOne(source, fit, model, slot)) break;
            slot.record = {};
            slot.record.index = frame++;
            belt.Complete(Stage::Read);
        }
    } catch (const std::exception& error) {
        sourceFailed.Raise(error.what());
    }
    belt.Close(Stage::Read);
}

}  // namespace velmo_run
