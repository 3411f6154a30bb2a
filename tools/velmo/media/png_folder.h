#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "velmo_media/frame_sink.h"
#include "velmo_media/frame_source.h"
#include "velmo_media/png_codec.h"

namespace velmo_media {

// Reads one PNG file. Throws MediaError that names it.
Picture ReadPngFile(const std::filesystem::path& path);

// The PNG files of a folder, in the order of their names' bytes. All have the size of the first.
class PngFolderSource final : public FrameSource {
 public:
    // Throws MediaError when there is none, or the folder or the first can't be read.
    explicit PngFolderSource(const std::filesystem::path& folder);

    const VideoFormat& Format() const override { return m_format; }
    std::optional<std::uint64_t> CountHint() const override { return m_files.size(); }
    bool Next(Picture& picture) override;
    std::string FrameName() const override { return m_name; }

 private:
    std::vector<std::filesystem::path> m_files;
    std::vector<std::uint8_t> m_file;  // the one read last
    VideoFormat m_format;
    std::size_t m_next = 0;
    std::string m_name;
};

enum class Overwriting { Refused, Allowed };

// Throws MediaError when `overwriting` is refused and there is a PNG file in the folder, or that can't be told. The
// folder need not be there.
void CheckPngFolder(const std::filesystem::path& folder, Overwriting overwriting);

// A folder with one PNG file for each frame, called like the frame, or by its number: "000000.png".
class PngFolderSink final : public FrameSink {
 public:
    // Makes the folder. Throws MediaError when it can't be made, and as CheckPngFolder does.
    PngFolderSink(std::filesystem::path folder, Overwriting overwriting);

    // Any picture; what is not as PNG has it, Rgb or Grey of the full range, is converted.
    void Write(const Picture& picture, const std::string& name) override;
    void Finish() override {}

 private:
    std::filesystem::path m_folder;
    std::uint64_t m_frames = 0;
    Picture m_rgb;
    PngEncoder m_encoder;
    std::vector<std::uint8_t> m_file;
};

}  // namespace velmo_media
