#pragma once

#include <istream>
#include <memory>
#include <optional>
#include <string>

#include "platform/child_process.h"
#include "velmo_media/child_stream.h"
#include "velmo_media/frame_source.h"
#include "velmo_media/y4m_reader.h"

namespace velmo_media {

// Any video that ffmpeg reads, through a child process that makes a Y4M stream of it.
class FfmpegSource final : public FrameSource {
 public:
    // `program` is ffmpeg's file, `input` the video's, both UTF-8. What ffmpeg complains of goes to standard error.
    // Throws MediaError.
    FfmpegSource(const std::string& program, const std::string& input, platform::ChildProcesses& children);
    ~FfmpegSource() override;

    const VideoFormat& Format() const override { return m_reader->Format(); }
    bool Next(Picture& picture) override;

 private:
    std::string m_input;
    std::unique_ptr<platform::ChildProcess> m_child;
    std::optional<ChildStreamBuffer> m_buffer;
    std::optional<std::istream> m_stream;
    std::optional<Y4mReader> m_reader;
};

}  // namespace velmo_media
