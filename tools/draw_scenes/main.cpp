#include <cstdio>
#include <iostream>
#include <string>

#include "draw_scenes_tool/draw_command.h"
#include "platform/process_setup.h"
#include "platform/standard_streams.h"

namespace {

class StandardOutput final : public draw_scenes::ByteSink {
 public:
    bool Take(const std::string& bytes) override {
        // Before the first byte only: texts such as the help keep the system's line ends.
        if (!m_binary) platform::SetBinaryStandardStreams();
        m_binary = true;
        return std::fwrite(bytes.data(), 1, bytes.size(), stdout) == bytes.size() && std::fflush(stdout) == 0;
    }

 private:
    bool m_binary = false;
};

}  // namespace

int main(int argc, char** argv) {
    platform::PrepareProcess();
    StandardOutput output;
    return draw_scenes::RunDrawScenes(argc, argv, output, std::cout, std::cerr);
}
