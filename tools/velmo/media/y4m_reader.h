#pragma once

#include <cstdint>
#include <istream>
#include <optional>
#include <string>

#include "velmo_media/frame_source.h"

namespace velmo_media {

// A Y4M stream, read as it comes: one frame is in memory at a time, and nothing is sought.
class Y4mReader final : public FrameSource {
 public:
    // Reads the header. `stream` is binary and outlives this; `name` is what errors call it. `streamBytes` is its whole
    // length where that is known. Throws MediaError.
    Y4mReader(std::istream& stream, std::string name, std::optional<std::uint64_t> streamBytes = std::nullopt);

    const VideoFormat& Format() const override { return m_format; }
    std::optional<std::uint64_t> CountHint() const override { return m_countHint; }
    bool Next(Picture& picture) override;

 private:
    enum class Line { Whole, Nothing, Cut, TooLong };
    Line ReadLine(std::string& line);
    [[noreturn]] void Fail(const std::string& what) const;

    std::istream& m_stream;
    std::string m_name;
    VideoFormat m_format;
    std::optional<std::uint64_t> m_countHint;
    std::string m_line;
    std::uint64_t m_offset = 0;  // bytes read
    std::uint64_t m_frame = 0;   // that comes next
};

}  // namespace velmo_media
