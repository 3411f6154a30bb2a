#pragma once

#include <cstddef>
#include <fstream>
#include <memory>
#include <optional>
#include <utility>

#include "velmo_media/compositor.h"
#include "velmo_media/frame_sink.h"
#include "velmo_media/frame_source.h"
#include "velmo_media/model_fit.h"
#include "velmo_report/csv_writer.h"
#include "velmo_run/frame_belt.h"
#include "velmo_run/frame_writer.h"
#include "velmo_run/stop_sign.h"
#include "velmo_run/written_frames_log.h"

namespace velmo_run {

// What the thread that reads touches: it may stand in a read that never returns, and outlive the run.
struct ReadingSide {
    ReadingSide(std::unique_ptr<velmo_media::FrameSource> opened, velmo_media::Size modelSize, std::size_t slots)
        : source(std::move(opened)),
          model(modelSize),
          fit(source->Format().pixels, source->Format().size, modelSize),
          belt(slots) {}

    std::unique_ptr<velmo_media::FrameSource> source;
    velmo_media::Size model;
    velmo_media::ModelFit fit;
    FrameBelt belt;
    StopSign sourceFailed;
    StopSign stop;
};

// What the thread that writes touches beside the reading side: it may stand in a write that nobody takes, and outlive
// the run as well. Outputs are null where they are not asked for.
struct WritingSide {
    WritingSide(std::shared_ptr<ReadingSide> readingSide, velmo_media::BackgroundKind background, bool keepsPictures)
        : reading(std::move(readingSide)),
          compositor(std::move(background), reading->source->Format().pixels, reading->source->Format().size),
          frames(keepsPictures) {}

    std::shared_ptr<ReadingSide> reading;
    velmo_media::Compositor compositor;
    WrittenFramesLog frames;
    std::unique_ptr<velmo_media::FrameSink> composite;
    std::unique_ptr<velmo_media::FrameSink> masks;
    std::unique_ptr<std::ofstream> csvFile;
    std::optional<velmo_report::CsvWriter> csv;
    std::optional<FrameWriter> writer;
};

}  // namespace velmo_run
