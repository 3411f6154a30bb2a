#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace hvq_double {

enum class FillKind {
    Values,     // these, and zero behind them
    Constant,   // one value
    Ramp,       // start, step; wrapped at a modulus unless it is 0
    Random,     // whole numbers 0 to 255 from a seed, the same at each inference
    Noise,      // as Random, others at each inference
    Inference,  // the inference's number, from 1, times a factor
    Copy,       // an input layer's data, from an element on; repeated as often as needed
};

// What an output layer holds after an inference.
struct Fill {
    FillKind kind = FillKind::Constant;
    std::vector<double> numbers{0.0};
    std::string source;                // of Copy
    std::uint64_t firstInference = 1;  // the fill holds from this inference on

    bool ChangesByInference() const;
};

// Writes `fill` to `data`. `source` is the input layer of Copy. Allocates nothing.
void Apply(const Fill& fill, std::uint64_t inference, std::span<const float> source, std::span<float> data);

}  // namespace hvq_double
