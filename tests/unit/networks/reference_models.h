#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "network_check_tool/model_files.h"
#include "network_check_tool/model_run.h"
#include "velmo_scenes/scene.h"

namespace networks_tests {

// A model file, loaded once for all tests of this program. `name` is such as "calyr_144p".
inline network_check::ModelRun& Model(const std::string& name) {
    // Leaked: their library may be gone when statics are destroyed.
    static auto& models = *new std::map<std::string, std::unique_ptr<network_check::ModelRun>>();
    std::unique_ptr<network_check::ModelRun>& model = models[name];
    if (model == nullptr) {
        const std::filesystem::path folder = network_check::OwnFolder();
        model = std::make_unique<network_check::ModelRun>(folder / "hvq.dll",
                                                          folder / "models" / network_check::ModelFileName(name));
    }
    return *model;
}

// What tests are run for: a name becomes part of the test's.
inline const std::vector<std::string> kModels(network_check::kReferenceModels.begin(),
                                              network_check::kReferenceModels.end());

// A held-out scene in the model's size.
inline scenes::Frame Draw(const network_check::ModelRun& model, std::uint64_t seed, double seconds = 0) {
    scenes::Scene scene(seed);
    scenes::Frame frame;
    scene.Draw(seconds, model.Width(), model.Height(), frame);
    return frame;
}

inline std::vector<std::uint8_t> Empty(const network_check::ModelRun& model) {
    return std::vector<std::uint8_t>(static_cast<std::size_t>(model.Width()) *
                                     static_cast<std::size_t>(model.Height()));
}

// The share of foreground, 0 to 1.
inline double Share(const std::vector<std::uint8_t>& mask) {
    const auto count = std::count_if(mask.begin(), mask.end(), [](std::uint8_t byte) { return byte > 128; });
    return static_cast<double>(count) / static_cast<double>(mask.size());
}

}  // namespace networks_tests
