#include "network_check_tool/sample.h"

#include <cstdint>
#include <vector>

#include "network_check_tool/evaluation.h"
#include "velmo_scenes/scene.h"

namespace network_check {
namespace {

constexpr std::uint64_t kSampleSeed = kFirstSeed + 2;

}  // namespace

std::string SampleMask(ModelRun& model) {
    scenes::Scene scene(kSampleSeed);
    scenes::Frame frame;
    scene.Draw(0.0, model.Width(), model.Height(), frame);
    const std::vector<std::uint8_t> nothing(frame.mask.size(), 0);
    const std::vector<std::uint8_t> first = model.Infer(frame.rgb, nothing);
    const std::vector<std::uint8_t>& mask = model.Infer(frame.rgb, first);

    std::string file = "P5\n" + std::to_string(model.Width()) + " " + std::to_string(model.Height()) + "\n255\n";
    file.append(mask.begin(), mask.end());
    return file;
}

}  // namespace network_check
