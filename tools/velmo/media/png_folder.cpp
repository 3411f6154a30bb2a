#include "velmo_media/png_folder.h"

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <iterator>
#include <system_error>
#include <utility>

#include "velmo_media/media_error.h"
#include "velmo_media/path_name.h"
#include "velmo_media/picture_conversion.h"
#include "velmo_media/png_codec.h"
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

}  // namespace

Picture ReadPngFile(const fs::path& path) {
    std::ifstream stream(path, std::ios::binary);
    if (!stream) throw MediaError("can't open " + NameOf(path));
    const std::vector<char> bytes{std::istreambuf_iterator<char>(stream), {}};
    if (stream.bad()) throw MediaError("can't read " + NameOf(path));
    try {
        return DecodePng({static_cast<const std::uint8_t*>(static_cast<const void*>(bytes.data())), bytes.size()});
    } catch (const MediaError& error) {
        throw MediaError(NameOf(path) + ": " + error.what());
    }
}

PngFolderSource::PngFolderSource(const fs::path& folder) : m_files(PngFilesIn(folder)) {
    if (m_files.empty()) throw MediaError("there is no PNG file in the folder " + NameOf(folder));
    const Picture first = ReadPngFile(m_files.front());
    m_format.pixels = first.Format();
    m_format.size = first.Dimensions();
}

bool PngFolderSource::Next(Picture& picture) {
    if (m_next == m_files.size()) return false;
    const fs::path& path = m_files[m_next];
    picture = ReadPngFile(path);
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

PngFolderSink::PngFolderSink(fs::path folder, Overwriting overwriting) : m_folder(std::move(folder)) {
    std::error_code error;
    fs::create_directories(m_folder, error);
    if (error) throw MediaError("can't make the folder " + NameOf(m_folder) + ": " + error.message());
    if (overwriting == Overwriting::Refused && !PngFilesIn(m_folder).empty()) {
        throw MediaError("there are PNG files in " + NameOf(m_folder) + " already; --force overwrites them");
    }
}

void PngFolderSink::Write(const Picture& picture, const std::string& name) {
    const bool isReady = picture.Format().model != ColourModel::Yuv;
    if (!isReady) ConvertToRgb(picture, m_rgb);
    EncodePng(isReady ? picture : m_rgb, m_file);
    const fs::path path = m_folder / PathOf(name.empty() ? Numbered(m_frames) : name);
    errno = 0;
    std::ofstream stream(path, std::ios::binary | std::ios::trunc);
    stream.write(static_cast<const char*>(static_cast<const void*>(m_file.data())),
                 static_cast<std::streamsize>(m_file.size()));
    stream.close();
    if (!stream) {
        throw MediaError(WriteFailure(NameOf(path)) + "; " + std::to_string(m_frames) + " frames were written whole");
    }
    ++m_frames;
}

}  // namespace velmo_media
