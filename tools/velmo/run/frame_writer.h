#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "velmo_media/compositor.h"
#include "velmo_media/frame_sink.h"
#include "velmo_media/model_fit.h"
#include "velmo_media/picture.h"
#include "velmo_report/csv_writer.h"
#include "velmo_run/frame_slot.h"

namespace velmo_run {

// Hears of every frame that has been written. Thread: the writer's.
class WrittenFrames {
 public:
    virtual ~WrittenFrames() = default;

    // Whether OnWritten wants this frame's pictures.
    virtual bool WantsPictures(std::uint64_t frame) = 0;

    // Both pictures have the frame's size; null unless they are wanted.
    virtual void OnWritten(const FrameSlot& slot, const velmo_media::Picture* mask,
                           const velmo_media::Picture* composite) = 0;
};

// What is made of frames and their masks. A frame without a mask of its own takes the last one; before the first it is
// all background.
class FrameWriter {
 public:
    struct Sinks {
        velmo_media::FrameSink* composite = nullptr;  // each may be null
        velmo_media::FrameSink* masks = nullptr;
        velmo_report::CsvWriter* csv = nullptr;
        WrittenFrames* listener = nullptr;
    };

    // All that is referred to outlives this.
    FrameWriter(const Sinks& sinks, velmo_media::ModelFit& fit, velmo_media::Compositor& compositor,
                velmo_media::Size picture);

    // Throws velmo_media::MediaError.
    void Write(FrameSlot& slot);
    void Finish();

 private:
    Sinks m_sinks;
    velmo_media::ModelFit& m_fit;
    velmo_media::Compositor& m_compositor;
    velmo_media::Picture m_mask;  // of the picture's size
    velmo_media::Picture m_composite;
};

}  // namespace velmo_run
