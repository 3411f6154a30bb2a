#pragma once

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <vector>

#include "engine/plugin_engine.h"

namespace network_check {

// One model file on an inference library, run as the process runs it: one thread on the processor, the frame's planes
// and the previous mask as floats, the mask's floats cut to bytes. Only floats that are no byte become other bytes than
// the process makes of them, see MaskByte(). Thread: one at a time.
class ModelRun {
 public:
    // Throws std::runtime_error with the library's text when the model can't be run.
    ModelRun(const std::filesystem::path& library, const std::filesystem::path& model);

    int Width() const { return m_width; }
    int Height() const { return m_height; }

    // Runs a frame: width x height x 3 bytes row by row, red first, and the mask of the frame before, width x height
    // bytes. Returns this frame's mask, good until the next call. Throws std::runtime_error.
    const std::vector<std::uint8_t>& Infer(std::span<const std::uint8_t> rgb, std::span<const std::uint8_t> previous);

    // How long the last inference took, data in and mask out included.
    double LastMilliseconds() const { return m_lastMilliseconds; }

    // The dimensions of a layer. Throws std::runtime_error when there is none.
    std::vector<std::uint64_t> Dims(const std::string& layer) { return m_engine.GetLayerDims(layer); }

    // A layer's numbers after the last inference, good until the next; empty when there is none.
    std::span<const float> Numbers(const std::string& layer);

 private:
    hvq::inference::PluginEngine m_engine;
    hvq::inference::Dims m_inputDims;
    int m_width = 0;
    int m_height = 0;
    std::vector<float> m_input;
    std::vector<std::uint8_t> m_mask;
    double m_lastMilliseconds = 0;
};

}  // namespace network_check
