#include "velmo_media/png_folder.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <fstream>
#include <system_error>
#include <utility>

#include "velmo_media/media_error.h"
#include "velmo_media/path_name.h"
#include "velmo_media/picture_conversion.h"
#include "velmo_media/stream_error.h"

namespace velmo_media {
namespace {

namespace fs = std::filesystem;

bool IsPng(const fs::path& path) {
    std::string extension = NameOf(path.extension());
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](char one) { return one >= 'A' && one <= 'Z' ? static_cast<char>(one - 'A' + 'a') : one; });
    return extension == ".png";
}

std::vector<fs::path> PngFilesIn(const fs::path& folder) {
    std::vector<fs::path> files;
    std::error_code error;
    for (fs::directory_iterator at(folder, error), end; !error && at != end; at.increment(error)) {
        if (IsPng(at->path())) files.push_back(at->path());
    }
    if (error) throw MediaError("can't read the folder " + NameOf(folder) + ": " + error.message());
    std::sort(files.begin(), files.end());
    return files;
}

std::string Numbered(std::uint64_t frame) {
    constexpr std::size_t kDigits = 6;
    const std::string number = std::to_string(frame);
    return std::string(kDigits - std::min(kDigits, number.size()), '0') + number + ".png";
}

// A file's stream, without a buffer of its own: files are read and written in large pieces.
template <class Stream>
Stream Opened(const fs::path& path, std::ios::openmode mode) {
    Stream stream;
    stream.rdbuf()->pubsetbuf(nullptr, 0);
    stream.open(path, mode);
    return stream;
}

// The file's bytes; their memory is `buffer`'s, which only grows.
std::span<const std::uint8_t> Load(const fs::path& path, std::vector<std::uint8_t>& buffer) {
    constexpr std::size_t kLeast = std::size_t{1} << 16;
    auto stream = Opened<std::ifstream>(path, std::ios::in | std::ios::binary);
    if (!stream) throw MediaError("can't open " + NameOf(path));
    std::size_t bytes = 0;
    while (stream) {
        if (bytes == buffer.size()) buffer.resize(std::max(kLeast, 2 * bytes));
        stream.read(static_cast<char*>(static_cast<void*>(buffer.data() + bytes)),
                    static_cast<std::streamsize>(buffer.size() - bytes));
        bytes += static_cast<std::size_t>(stream.gcount());
    }
    if (stream.bad()) throw MediaError("can't read " + NameOf(path));
    return {buffer.data(), bytes};
}

void ReadPng(const fs::path& path, std::vector<std::uint8_t>& buffer, Picture& picture) {
    const auto file = Load(path, buffer);
    try {
        DecodePng(file, picture);
    } catch (const MediaError& error) {
        throw MediaError(NameOf(path) + ": " + error.what());
    }
}

}  // namespace

Picture ReadPngFile(const fs::path& path) {
    std::vector<std::uint8_t> buffer;
    Picture picture;
    ReadPng(path, buffer, picture);
    return picture;
}

PngFolderSource::PngFolderSource(const fs::path& folder) : m_files(PngFilesIn(folder)) {
    if (m_files.empty()) throw MediaError("there is no PNG file in the folder " + NameOf(folder));
    Picture first;
    ReadPng(m_files.front(), m_file, first);
    m_format.pixels = first.Format();
    m_format.size = first.Dimensions();
}

bool PngFolderSource::Next(Picture& picture) {
    if (m_next == m_files.size()) return false;
    const fs::path& path = m_files[m_next];
    ReadPng(path, m_file, picture);
    const Size size = picture.Dimensions();
    if (size != m_format.size) {
        throw MediaError(NameOf(path) + " has " + std::to_string(size.width) + " x " + std::to_string(size.height) +
                         " pixels, and those before it " + std::to_string(m_format.size.width) + " x " +
                         std::to_string(m_format.size.height));
    }
    m_name = NameOf(path.filename());
    ++m_next;
    return true;
}

void CheckPngFolder(const fs::path& folder, Overwriting overwriting) {
    std::error_code error;
    if (overwriting == Overwriting::Allowed || !fs::is_directory(folder, error)) return;
    if (!PngFilesIn(folder).empty()) {
        throw MediaError("there are PNG files in " + NameOf(folder) + " already; --force overwrites them");
    }
}

PngFolderSink::PngFolderSink(fs::path folder, Overwriting overwriting) : m_folder(std::move(folder)) {
    CheckPngFolder(m_folder, overwriting);
    std::error_code error;
    fs::create_directories(m_folder, error);
    if (error) throw MediaError("can't make the folder " + NameOf(m_folder) + ": " + error.message());
}

void PngFolderSink::Write(const Picture& picture, const std::string& name) {
    const PixelFormat& format = picture.Format();
    const bool isReady =
        format.model == ColourModel::Rgb || (format.model == ColourModel::Grey && format.range == ColourRange::Full);
    if (!isReady) ConvertToRgb(picture, m_rgb);
    m_encoder.Encode(isReady ? picture : m_rgb, m_file);
    const fs::path path = m_folder / PathOf(name.empty() ? Numbered(m_frames) : name);
    errno = 0;
    auto stream = Opened<std::ofstream>(path, std::ios::out | std::ios::binary | std::ios::trunc);
    stream.write(static_cast<const char*>(static_cast<const void*>(m_file.data())),
                 static_cast<std::streamsize>(m_file.size()));
    stream.close();
    if (!stream) {
        throw MediaError(WriteFailure(NameOf(path)) + "; " + std::to_string(m_frames) + " frames were written whole");
    }
    ++m_frames;
}

}  // namespace velmo_media
