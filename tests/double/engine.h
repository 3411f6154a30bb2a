#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "scenario.h"

namespace hvq_double {

// A layer's data in a network.
struct Tensor {
    std::string name;
    std::vector<float> data;
    std::optional<std::size_t> appliedFill;  // which of the layer's fills `data` holds
};

struct Network {
    std::string id;
    std::string device;
    std::uint64_t inferences = 0;
    std::uint64_t scenarioNumber = 0;  // of the scenario that the tensors were filled by
    std::vector<Tensor> tensors;

    // The layer's tensor, made or resized to the layer's dimensions first. Allocates only then.
    Tensor& TensorOf(const LayerOffer& layer);
};

// One engine, as hvqCreateWithLibraryLoader gives it.
struct Engine {
    std::uint32_t number = 0;            // in order of creation, from 1
    std::optional<std::string> pending;  // the oldest text that nobody has reset
    std::vector<std::string> registered;
    std::optional<Network> network;
};

// The elements of a layer. Nothing when there are more than the double is ready to hold.
std::optional<std::uint64_t> ElementCount(const std::vector<std::uint64_t>& dims);

// Runs the network once: fills the outputs as `scenario` says. `scenarioNumber` changes whenever the scenario does.
void Infer(Scenario& scenario, std::uint64_t scenarioNumber, Network& network);

}  // namespace hvq_double
