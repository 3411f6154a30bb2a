#pragma once

#include <fstream>
#include <optional>
#include <string>

#include "draw_scenes_tool/byte_sink.h"

namespace draw_scenes {

enum class IfThere { Keep, Overwrite };

// A file that is written from its start. Thread: one at a time.
class NewFile final : public ByteSink {
 public:
    // Nothing when the file can't be opened, or is there and is to be kept.
    static std::optional<NewFile> Open(const std::string& path, IfThere ifThere);

    bool Take(const std::string& bytes) override;

 private:
    explicit NewFile(std::ofstream stream);

    std::ofstream m_stream;
};

}  // namespace draw_scenes
