#pragma once

#include <ostream>
#include <string>

#include "velmo_media/frame_sink.h"
#include "velmo_media/frame_source.h"

namespace velmo_media {

// Writes a Y4M stream. The header goes out with the first frame, or with Finish.
class Y4mWriter final : public FrameSink {
 public:
    // `stream` is binary and outlives this; `name` is what errors call it. The format's pixels are Yuv or Grey.
    Y4mWriter(std::ostream& stream, std::string name, VideoFormat format);

    // The picture has the format's pixels and size.
    void Write(const Picture& picture, const std::string& name) override;
    void Finish() override;

 private:
    void WriteHeader();
    void Check();

    std::ostream& m_stream;
    std::string m_name;
    VideoFormat m_format;
    bool m_headerIsOut = false;
    std::uint64_t m_frames = 0;  // written whole
};

}  // namespace velmo_media
