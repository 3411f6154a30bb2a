#include "run_fixture.h"

#include <array>
#include <filesystem>

#include "velmo_media/path_name.h"
#include "velmo_media/picture.h"
#include "velmo_media/y4m_reader.h"

namespace run_process_tests {
namespace {

struct Model {
    const char* network;
    const char* file;
};

constexpr std::array kModels = {
    Model{"family0_256x144.onnx", "calyr_144p_input.dll"}, Model{"family0_640x360.onnx", "calyr_360p_input.dll"},
    Model{"family1_256x144.onnx", "calyr_re_144p_input.dll"}, Model{"family2_256x144.onnx", "inhouse_144p_input.dll"},
    Model{"family2_640x360.onnx", "inhouse_360p_input.dll"}};

}  // namespace

VideoRunTest::VideoRunTest() {
    const std::filesystem::path models = m_folder.Path() / "models";
    std::filesystem::create_directory(models);
    for (const Model& model : kModels) {
        std::filesystem::copy_file(process_tests::ProgramFolderPath() / "networks" / model.network,
                                   models / model.file);
    }
    m_options.input = "-";
    m_options.program = process_tests::ProcessProgram();
    m_options.engineFolder = velmo_media::NameOf(process_tests::ProgramFolderPath());
    m_options.modelFolder = velmo_media::NameOf(models);
}

int VideoRunTest::RunFrames(std::uint64_t frames, const std::function<Grey(std::uint64_t)>& next) {
    return RunFeed([&](std::uint64_t frame) { return frame < frames ? next(frame) : Grey(); });
}

int VideoRunTest::RunFeed(const std::function<Grey(std::uint64_t)>& next) {
    FrameFeed feed(kWidth, kHeight, next);
    return RunStream(feed);
}

int VideoRunTest::RunStream(std::streambuf& input) {
    std::istream in(&input);
    std::ostream out(m_output == nullptr ? m_written.rdbuf() : m_output);
    return RunOn(in, out);
}

int VideoRunTest::RunOn(std::istream& in, std::ostream& out) {
    std::ostream talk(&m_talk);
    // As std::cin and std::cerr are.
    in.tie(&out);
    talk.tie(&out);
    velmo_run::RunSurroundings surroundings{{in, out}, talk};
    surroundings.interrupted = m_interrupted;
    return velmo_run::RunVideo(m_options, surroundings);
}

int VideoRunTest::Run() {
    std::stringbuf nothing;
    return RunStream(nothing);
}

std::string VideoRunTest::At(const std::string& name) const {
    return velmo_media::NameOf(m_folder.Path() / name);
}

std::vector<Grey> VideoRunTest::FramesOf(const std::string& y4m) const {
    std::vector<Grey> frames;
    std::istringstream stream(y4m);
    try {
        velmo_media::Y4mReader reader(stream, "what was written");
        velmo_media::Picture picture;
        while (reader.Next(picture))
            frames.emplace_back(picture.Bytes().begin(), picture.Bytes().end());
    } catch (const std::exception& error) {
        ADD_FAILURE() << error.what();
    }
    return frames;
}

nlohmann::json VideoRunTest::JsonAt(const std::string& name) const {
    return nlohmann::json::parse(process_tests::FileText(At(name)));
}

}  // namespace run_process_tests
