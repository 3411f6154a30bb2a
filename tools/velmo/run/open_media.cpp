#include "velmo_run/open_media.h"

#include <array>
#include <cerrno>
#include <filesystem>
#include <istream>
#include <ostream>
#include <system_error>
#include <utility>

#include "platform/child_process.h"
#include "platform/find_program.h"
#include "velmo_media/colour.h"
#include "velmo_media/ffmpeg_source.h"
#include "velmo_media/media_error.h"
#include "velmo_media/path_name.h"
#include "velmo_media/picture_conversion.h"
#include "velmo_media/stream_error.h"
#include "velmo_media/y4m_reader.h"
#include "velmo_media/y4m_writer.h"

namespace velmo_run {
namespace {

namespace fs = std::filesystem;
using velmo_media::ColourModel;
using velmo_media::MediaError;
using velmo_media::Overwriting;
using velmo_media::PathOf;

constexpr char kStandardStream[] = "-";
constexpr char kY4mEnding[] = ".y4m";
constexpr char kMagic[] = "YUV4MPEG2";

class Y4mFileSource final : public velmo_media::FrameSource {
 public:
    explicit Y4mFileSource(const std::string& name) : m_stream(Opened(name)), m_reader(m_stream, name, BytesOf(name)) {}

    const velmo_media::VideoFormat& Format() const override { return m_reader.Format(); }
    std::optional<std::uint64_t> CountHint() const override { return m_reader.CountHint(); }
    bool Next(velmo_media::Picture& picture) override { return m_reader.Next(picture); }

 private:
    static std::ifstream Opened(const std::string& name) {
        std::ifstream stream(PathOf(name), std::ios::binary);
        if (!stream) throw MediaError("can't open " + name);
        return stream;
    }

    // A pipe or a device has no length.
    static std::optional<std::uint64_t> BytesOf(const std::string& name) {
        std::error_code error;
        if (!fs::is_regular_file(PathOf(name), error)) return std::nullopt;
        const std::uintmax_t bytes = fs::file_size(PathOf(name), error);
        return error ? std::nullopt : std::optional<std::uint64_t>(bytes);
    }

    std::ifstream m_stream;
    velmo_media::Y4mReader m_reader;
};

std::unique_ptr<std::ofstream> OpenFile(const std::string& name, Overwriting overwriting) {
    CheckOverwriting(name, overwriting);
    errno = 0;
    auto file = std::make_unique<std::ofstream>(PathOf(name), std::ios::binary | std::ios::trunc);
    if (!*file) throw MediaError(velmo_media::WriteFailure(name));
    return file;
}

class Y4mSink final : public velmo_media::FrameSink {
 public:
    // `file` is null for a stream that lives elsewhere. `converter` is for Rgb pictures; nothing when there are none.
    Y4mSink(std::unique_ptr<std::ofstream> file, std::ostream& stream, const std::string& name,
            const velmo_media::VideoFormat& format, std::optional<velmo_media::RgbConverter> converter)
        : m_file(std::move(file)), m_name(name), m_converter(std::move(converter)), m_writer(stream, name, format) {}

    void Write(const velmo_media::Picture& picture, const std::string& name) override {
        if (m_converter) m_converter->Convert(picture, m_converted);
        m_writer.Write(m_converter ? m_converted : picture, name);
    }

    void Finish() override {
        m_writer.Finish();
        if (m_file) FinishTextFile(*m_file, m_name);
    }

 private:
    std::unique_ptr<std::ofstream> m_file;
    std::string m_name;
    std::optional<velmo_media::RgbConverter> m_converter;
    velmo_media::Picture m_converted;
    velmo_media::Y4mWriter m_writer;
};

bool BeginsLikeY4m(const std::string& name) {
    std::ifstream file(PathOf(name), std::ios::binary);
    std::array<char, sizeof(kMagic) - 1> begin{};
    file.read(begin.data(), begin.size());
    return file && std::string(begin.data(), begin.size()) == kMagic;
}

}  // namespace

std::unique_ptr<velmo_media::FrameSource> OpenSource(const std::string& input, const StandardStreams& streams) {
    if (input == kStandardStream) return std::make_unique<velmo_media::Y4mReader>(streams.in, "standard input");
    std::error_code error;
    const fs::path path = PathOf(input);
    if (fs::is_directory(path, error)) return std::make_unique<velmo_media::PngFolderSource>(path);
    if (!fs::exists(path, error)) throw MediaError(input + " is not there");
    if (input.ends_with(kY4mEnding) || BeginsLikeY4m(input)) return std::make_unique<Y4mFileSource>(input);
    const std::optional<std::string> ffmpeg = platform::FindProgram("ffmpeg");
    if (!ffmpeg) {
        throw MediaError(input +
                         " is no Y4M stream, and ffmpeg, which reads other files, is not installed. Where it is: " +
                         "ffmpeg -i " + input + " -f yuv4mpegpipe -pix_fmt yuv420p - | velmo run -");
    }
    return std::make_unique<velmo_media::FfmpegSource>(*ffmpeg, input, platform::SystemChildProcesses());
}

SinkKind SinkKindOf(const std::string& output) {
    if (output == kStandardStream || output.ends_with(kY4mEnding)) return SinkKind::Y4m;
    std::error_code error;
    const fs::path path = PathOf(output);
    if (fs::is_other(path, error)) return SinkKind::Y4m;  // a pipe or a device
    if (fs::is_directory(path, error) || !path.has_extension()) return SinkKind::PngFolder;
    throw MediaError(output + " is neither NAME.y4m nor a folder for PNG files. For another kind of video: " +
                     "velmo run ... --output - | ffmpeg -i - " + output);
}

void CheckOverwriting(const std::string& output, Overwriting overwriting) {
    if (overwriting == Overwriting::Allowed || output.empty() || output == kStandardStream) return;
    std::error_code error;
    const fs::path path = PathOf(output);
    if (fs::is_regular_file(path, error)) throw MediaError(output + " is there already; --force overwrites it");
    velmo_media::CheckPngFolder(path, overwriting);
}

bool IsSamePlace(const std::string& one, const std::string& other) {
    if (one == kStandardStream || other == kStandardStream) return false;
    std::error_code error;
    if (fs::equivalent(PathOf(one), PathOf(other), error) && !error) return true;
    const auto whole = [](const std::string& name) {
        std::error_code failure;
        fs::path path = fs::weakly_canonical(fs::absolute(PathOf(name), failure), failure);
        return path.has_filename() ? path : path.parent_path();  // without a separator at its end
    };
    return whole(one) == whole(other);
}

bool HasFolder(const std::string& file) {
    const fs::path folder = PathOf(file).parent_path();
    std::error_code error;
    return folder.empty() || fs::is_directory(folder, error);
}

std::unique_ptr<velmo_media::FrameSink> OpenSink(const std::string& output, const velmo_media::VideoFormat& format,
                                                 Overwriting overwriting, const StandardStreams& streams) {
    if (SinkKindOf(output) == SinkKind::PngFolder) {
        return std::make_unique<velmo_media::PngFolderSink>(PathOf(output), overwriting);
    }
    velmo_media::VideoFormat written = format;
    std::optional<velmo_media::RgbConverter> converter;
    if (written.pixels.model == ColourModel::Rgb) {
        written.pixels = {ColourModel::Yuv, 0, 0, velmo_media::ColourRange::Limited};
        converter.emplace(written.pixels, written.size);
    }
    if (output == kStandardStream) {
        return std::make_unique<Y4mSink>(nullptr, streams.out, "standard output", written, std::move(converter));
    }
    auto file = OpenFile(output, overwriting);
    std::ostream& stream = *file;
    return std::make_unique<Y4mSink>(std::move(file), stream, output, written, std::move(converter));
}

velmo_media::BackgroundKind OpenBackground(const std::string& text) {
    if (text == "blur") return velmo_media::BlurredBackground{};
    if (const auto colour = velmo_media::ParseColour(text)) return *colour;
    std::error_code error;
    if (!fs::exists(PathOf(text), error)) {
        throw MediaError("the background \"" + text + "\" is neither \"blur\", a colour such as #00b140, nor a file");
    }
    return velmo_media::ReadPngFile(PathOf(text));
}

std::unique_ptr<std::ofstream> OpenTextFile(const std::string& name, Overwriting overwriting) {
    return OpenFile(name, overwriting);
}

void WriteTextFile(const std::string& name, const std::string& text, Overwriting overwriting) {
    const auto file = OpenFile(name, overwriting);
    errno = 0;
    *file << text;
    FinishTextFile(*file, name);
}

void FinishTextFile(std::ofstream& file, const std::string& name) {
    if (file) errno = 0;  // or it tells what has failed before
    file.close();
    if (!file) throw MediaError(velmo_media::WriteFailure(name));
}

}  // namespace velmo_run
