#pragma once

#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>

#include "velmo_media/picture.h"
#include "velmo_media/y4m_reader.h"

// Y4M streams by hand.
namespace run_tests {

// A stream of this header and so many frames, whose bytes count up from the frame's number.
inline std::string Y4mStream(const std::string& header, std::size_t frameBytes, int frames) {
    std::string stream = header + "\n";
    for (int frame = 0; frame < frames; ++frame) {
        stream += "FRAME\n";
        for (std::size_t at = 0; at < frameBytes; ++at)
            stream += static_cast<char>(static_cast<std::uint8_t>(static_cast<std::size_t>(frame) + at));
    }
    return stream;
}

// What the stream's frames are, or the text of what was thrown, as "3 frames" and "2 frames, then: ...".
inline std::string ReadAll(const std::string& bytes) {
    std::istringstream stream(bytes);
    std::uint64_t frames = 0;
    std::string failure;
    try {
        velmo_media::Y4mReader reader(stream, "clip");
        velmo_media::Picture picture;
        while (reader.Next(picture))
            ++frames;
    } catch (const std::exception& error) {
        failure = std::string(", then: ") + error.what();
    }
    return std::to_string(frames) + " frames" + failure;
}

}  // namespace run_tests
