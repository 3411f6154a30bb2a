#include "velmo_media/ffmpeg_source.h"

#include <cstdint>
#include <utility>

#include "velmo_media/media_error.h"

namespace velmo_media {
namespace {

constexpr std::uint32_t kPatienceMs = 10'000;

}  // namespace

FfmpegSource::FfmpegSource(const std::string& program, const std::string& input, platform::ChildProcesses& children)
    : m_input(input) {
    std::unique_ptr<platform::ChildPipe> pipe;
    platform::ChildStart start;
    start.program = program;
    // Or it would take what stands before a colon in the name for a protocol.
    const std::string file = "file:" + input;
    start.arguments = {"-nostdin", "-loglevel", "error", "-i", file, "-f", "yuv4mpegpipe", "-pix_fmt", "yuv420p", "-"};
    start.standardOutputPipe = &pipe;
    std::string error;
    m_child = children.Start(start, error);
    if (!m_child) throw MediaError("can't start " + program + ": " + error);
    m_buffer.emplace(std::move(pipe));
    m_stream.emplace(&*m_buffer);
    try {
        m_reader.emplace(*m_stream, input);
    } catch (const MediaError& failure) {
        m_child->Kill();
        throw MediaError(m_input + ": ffmpeg made no video of it (" + failure.what() + ")");
    }
}

FfmpegSource::~FfmpegSource() {
    m_child->Kill();  // harmless when it has ended
    (void)m_child->WaitForExit(kPatienceMs);
}

bool FfmpegSource::Next(Picture& picture) {
    if (m_reader->Next(picture)) return true;
    const auto exit = m_child->WaitForExit(kPatienceMs);
    if (exit && exit->code == 0 && exit->signal == 0) return false;
    if (!exit) throw MediaError(m_input + ": ffmpeg wrote all of it, but does not end");
    throw MediaError(
        m_input + ": ffmpeg failed with " +
        (exit->signal != 0 ? "signal " + std::to_string(exit->signal) : "exit code " + std::to_string(exit->code)));
}

}  // namespace velmo_media
