#include "velmo_media/y4m_writer.h"

#include <cerrno>
#include <string_view>
#include <utility>

#include "velmo_media/media_error.h"
#include "velmo_media/stream_error.h"
#include "velmo_media/y4m_header.h"

namespace velmo_media {

Y4mWriter::Y4mWriter(std::ostream& stream, std::string name, VideoFormat format)
    : m_stream(stream), m_name(std::move(name)), m_format(std::move(format)) {}

void Y4mWriter::Check() {
    if (m_stream.good()) return;
    throw MediaError(WriteFailure(m_name) + "; " + std::to_string(m_frames) + " frames were written whole");
}

void Y4mWriter::WriteHeader() {
    if (m_headerIsOut) return;
    m_headerIsOut = true;
    m_stream << Y4mHeader(m_format);
}

void Y4mWriter::Write(const Picture& picture, const std::string& /*name*/) {
    constexpr std::string_view kFrame = "FRAME\n";
    errno = 0;
    WriteHeader();
    const auto bytes = picture.Bytes();
    m_stream.write(kFrame.data(), static_cast<std::streamsize>(kFrame.size()));
    m_stream.write(static_cast<const char*>(static_cast<const void*>(bytes.data())),
                   static_cast<std::streamsize>(bytes.size()));
    Check();
    ++m_frames;
}

void Y4mWriter::Finish() {
    errno = 0;
    WriteHeader();
    m_stream.flush();
    Check();
}

}  // namespace velmo_media
