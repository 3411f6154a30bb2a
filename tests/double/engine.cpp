#include "engine.h"

#include <algorithm>
#include <span>

namespace hvq_double {
namespace {

constexpr std::uint64_t kMostElements = std::uint64_t{1} << 26;

// The fill that holds at an inference; nothing when the first one starts later.
std::optional<std::size_t> FillAt(const LayerOffer& layer, std::uint64_t inference) {
    std::optional<std::size_t> found;
    for (std::size_t index = 0; index < layer.fills.size(); ++index) {
        if (layer.fills[index].firstInference <= inference) found = index;
    }
    return found;
}

}  // namespace

std::optional<std::uint64_t> ElementCount(const std::vector<std::uint64_t>& dims) {
    std::uint64_t count = 1;
    for (const std::uint64_t dim : dims) {
        if (dim != 0 && count > kMostElements / dim) return std::nullopt;
        count *= dim;
    }
    return count;
}

Tensor& Network::TensorOf(const LayerOffer& layer) {
    auto found =
        std::find_if(tensors.begin(), tensors.end(), [&](const Tensor& tensor) { return tensor.name == layer.name; });
    if (found == tensors.end()) {
        tensors.push_back({layer.name, {}, std::nullopt});
        found = tensors.end() - 1;
    }
    const auto count = static_cast<std::size_t>(ElementCount(layer.dims).value_or(0));
    if (found->data.size() != count) {
        found->data.assign(count, 0.0F);
        found->appliedFill.reset();
    }
    return *found;
}

void Infer(Scenario& scenario, std::uint64_t scenarioNumber, Network& network) {
    ++network.inferences;
    for (const LayerOffer& layer : scenario.layers)
        (void)network.TensorOf(layer);  // all of them first: a reference to one does not outlive the making of another
    for (const LayerOffer& layer : scenario.layers) {
        const std::optional<std::size_t> index = FillAt(layer, network.inferences);
        if (layer.isInput || !index) continue;
        Tensor& tensor = network.TensorOf(layer);
        const Fill& fill = layer.fills[*index];
        const bool stands = tensor.appliedFill == index && network.scenarioNumber == scenarioNumber;
        if (stands && !fill.ChangesByInference()) continue;
        const LayerOffer* const source = scenario.FindLayer(fill.source);
        const std::span<const float> from =
            source != nullptr ? std::span<const float>(network.TensorOf(*source).data) : std::span<const float>();
        Apply(fill, network.inferences, from, tensor.data);
        tensor.appliedFill = index;
    }
    network.scenarioNumber = scenarioNumber;
}

}  // namespace hvq_double
