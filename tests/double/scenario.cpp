#include "scenario.h"

#include <algorithm>

namespace hvq_double {

bool Which::Holds(std::uint64_t call) const {
    if (call < first) return false;
    return every == 0 ? call == first : (call - first) % every == 0;
}

EngineOffer* Scenario::FindEngine(const std::string& name) {
    const auto found =
        std::find_if(engines.begin(), engines.end(), [&](const EngineOffer& engine) { return engine.name == name; });
    return found == engines.end() ? nullptr : &*found;
}

LayerOffer* Scenario::FindLayer(const std::string& name) {
    const auto found =
        std::find_if(layers.begin(), layers.end(), [&](const LayerOffer& layer) { return layer.name == name; });
    return found == layers.end() ? nullptr : &*found;
}

Scenario DefaultScenario() {
    Scenario scenario;
    scenario.version = "2026.03.18-1bca487a(x64)";
    scenario.engines = {{"OpenVINO",
                         {"AUTO", "CPU", "GPU"},
                         {},
                         {{"CACHE_DIR", "std::filesystem::path"},
                          {"INFERENCE_THREADS_NUMBER", "std::string"},
                          {"RUNTIME_STREAMS_NUMBER", "std::string"}}}};

    const auto input = [&](const char* name, std::vector<std::uint64_t> dims) {
        scenario.layers.push_back({name, true, true, std::move(dims), {}});
    };
    const auto output = [&](const char* name, std::vector<std::uint64_t> dims, Fill fill) {
        scenario.layers.push_back({name, false, true, std::move(dims), {std::move(fill)}});
    };
    input("input", {1, 4, 144, 256});
    output("segmentation", {1, 1, 144, 256}, {FillKind::Ramp, {0, 1, 256}, {}, 1});
    output("faces_and_landmarks", {1, 1, 9, 16, 1439}, {FillKind::Ramp, {0, 0.5, 0}, {}, 1});
    output("motion", {1, 1}, {FillKind::Constant, {0.25}, {}, 1});
    output("gesture", {1, 9}, {FillKind::Ramp, {1, 1, 0}, {}, 1});
    output("lut", {1, 3, 33, 33, 33}, {FillKind::Ramp, {0, 1, 33}, {}, 1});
    output("lut_vertices", {1, 3, 33}, {FillKind::Ramp, {0, 0.25, 0}, {}, 1});
    return scenario;
}

}  // namespace hvq_double
