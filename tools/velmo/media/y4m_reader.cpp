#include "velmo_media/y4m_reader.h"

#include <utility>

#include "velmo_media/media_error.h"
#include "velmo_media/y4m_header.h"

namespace velmo_media {
namespace {

constexpr std::size_t kLongestLine = 4096;
constexpr std::string_view kFrame = "FRAME";

// The beginning of a damaged line, fit to be printed.
std::string Shown(std::string_view bytes) {
    constexpr std::size_t kMost = 16;
    std::string shown;
    for (const char byte : bytes.substr(0, kMost))
        shown += byte >= 0x20 && byte < 0x7F ? byte : '.';
    return shown;
}

}  // namespace

Y4mReader::Y4mReader(std::istream& stream, std::string name, std::optional<std::uint64_t> streamBytes)
    : m_stream(stream), m_name(std::move(name)) {
    m_line.reserve(kLongestLine);
    const Line line = ReadLine(m_line);
    if (line == Line::Nothing) throw MediaError(m_name + ": the stream is empty");
    try {
        m_format = ParseY4mHeader(m_line);
    } catch (const MediaError& error) {
        throw MediaError(m_name + ": " + error.what());
    }
    if (line != Line::Whole) throw MediaError(m_name + ": its header has no end");
    if (streamBytes && *streamBytes >= m_offset) {
        const std::uint64_t frameBytes = kFrame.size() + 1 + m_format.pixels.BytesOf(m_format.size);
        m_countHint = (*streamBytes - m_offset) / frameBytes;
    }
}

Y4mReader::Line Y4mReader::ReadLine(std::string& line) {
    line.clear();
    for (;;) {
        const int next = m_stream.get();
        if (next == std::istream::traits_type::eof()) return line.empty() ? Line::Nothing : Line::Cut;
        ++m_offset;
        if (next == '\n') return Line::Whole;
        if (line.size() == kLongestLine) return Line::TooLong;
        line += static_cast<char>(next);
    }
}

void Y4mReader::Fail(const std::string& what) const {
    throw MediaError(m_name + ": frame " + std::to_string(m_frame) + " at byte " + std::to_string(m_offset) + " " +
                     what);
}

bool Y4mReader::Next(Picture& picture) {
    const std::uint64_t begin = m_offset;
    const Line line = ReadLine(m_line);
    if (line == Line::Nothing) {
        if (m_stream.bad()) Fail("can't be read");
        return false;
    }
    if (line == Line::Cut && (m_line.starts_with(kFrame) || kFrame.starts_with(m_line))) {
        m_offset = begin;
        Fail("is cut off in its header");
    }
    const bool isFrame = m_line.starts_with(kFrame) && (m_line.size() == kFrame.size() || m_line[kFrame.size()] == ' ');
    if (!isFrame || line != Line::Whole) {
        m_offset = begin;
        Fail("does not begin with \"FRAME\" but with \"" + Shown(m_line) + "\"");
    }

    picture.Reset(m_format.pixels, m_format.size);
    const auto bytes = picture.Bytes();
    m_stream.read(static_cast<char*>(static_cast<void*>(bytes.data())), static_cast<std::streamsize>(bytes.size()));
    const auto count = static_cast<std::uint64_t>(m_stream.gcount());
    if (count != bytes.size()) {
        Fail("is cut off: " + std::to_string(count) + " of its " + std::to_string(bytes.size()) + " bytes are there");
    }
    m_offset += count;
    ++m_frame;
    return true;
}

}  // namespace velmo_media
