#include "fill.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace hvq_double {
namespace {

// A number without any pattern to it for each position (splitmix64).
std::uint64_t Mix(std::uint64_t position) {
    std::uint64_t mixed = position + 0x9E37'79B9'7F4A'7C15;
    mixed = (mixed ^ (mixed >> 30)) * 0xBF58'476D'1CE4'E5B9;
    mixed = (mixed ^ (mixed >> 27)) * 0x94D0'49BB'1331'11EB;
    return mixed ^ (mixed >> 31);
}

void FillRandomly(std::uint64_t seed, std::span<float> data) {
    std::uint64_t position = Mix(seed);
    for (float& value : data)
        value = static_cast<float>(Mix(position++) & 0xFF);
}

}  // namespace

bool Fill::ChangesByInference() const {
    return kind == FillKind::Noise || kind == FillKind::Inference || kind == FillKind::Copy;
}

void Apply(const Fill& fill, std::uint64_t inference, std::span<const float> source, std::span<float> data) {
    const auto number = [&](std::size_t index) { return index < fill.numbers.size() ? fill.numbers[index] : 0.0; };
    switch (fill.kind) {
        case FillKind::Values:
            for (std::size_t i = 0; i < data.size(); ++i)
                data[i] = static_cast<float>(number(i));
            break;
        case FillKind::Constant:
            std::fill(data.begin(), data.end(), static_cast<float>(number(0)));
            break;
        case FillKind::Ramp:
            for (std::size_t i = 0; i < data.size(); ++i) {
                const double value = number(0) + number(1) * static_cast<double>(i);
                data[i] = static_cast<float>(number(2) == 0.0 ? value : std::fmod(value, number(2)));
            }
            break;
        case FillKind::Random:
            FillRandomly(static_cast<std::uint64_t>(number(0)), data);
            break;
        case FillKind::Noise:
            FillRandomly(static_cast<std::uint64_t>(number(0)) + (inference << 32), data);
            break;
        case FillKind::Inference:
            std::fill(data.begin(), data.end(), static_cast<float>(number(0) * static_cast<double>(inference)));
            break;
        case FillKind::Copy: {
            const auto first = static_cast<std::size_t>(number(0));
            const std::span<const float> from = first < source.size() ? source.subspan(first) : source.first(0);
            for (std::size_t i = 0; i < data.size(); ++i)
                data[i] = from.empty() ? 0.0F : from[i % from.size()];
            break;
        }
    }
}

}  // namespace hvq_double
