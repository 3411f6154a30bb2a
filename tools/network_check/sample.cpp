#include "network_check_tool/sample.h"

#include <cstddef>
#include <cstdint>
#include <vector>

#include "network_check_tool/evaluation.h"
#include "velmo_scenes/scene.h"

namespace network_check {
namespace {

constexpr std::size_t kColumns = 64;
constexpr std::size_t kRows = 36;
constexpr std::uint64_t kSampleSeed = kFirstSeed + 2;

}  // namespace

std::string SampleMask(ModelRun& model) {
    scenes::Scene scene(kSampleSeed);
    scenes::Frame frame;
    scene.Draw(0.0, model.Width(), model.Height(), frame);
    const std::vector<std::uint8_t> nothing(frame.mask.size(), 0);
    const std::vector<std::uint8_t> first = model.Infer(frame.rgb, nothing);
    const std::vector<std::uint8_t>& mask = model.Infer(frame.rgb, first);

    std::string file = "P5\n" + std::to_string(kColumns) + " " + std::to_string(kRows) + "\n255\n";
    const auto width = static_cast<std::size_t>(model.Width());
    const auto height = static_cast<std::size_t>(model.Height());
    for (std::size_t row = 0; row < kRows; ++row) {
        for (std::size_t column = 0; column < kColumns; ++column)
            file.push_back(static_cast<char>(mask[row * height / kRows * width + column * width / kColumns]));
    }
    return file;
}

}  // namespace network_check
