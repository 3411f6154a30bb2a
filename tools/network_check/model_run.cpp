#include "network_check_tool/model_run.h"

#include <algorithm>
#include <any>
#include <chrono>
#include <stdexcept>

#include "network_check_tool/mask_byte.h"

namespace network_check {
namespace {

constexpr char kEngine[] = "OpenVINO";
constexpr char kDevice[] = "CPU";
constexpr char kModel[] = "network_check";
constexpr char kInput[] = "input";
constexpr char kMask[] = "segmentation";
constexpr std::size_t kPlanes = 4;

}  // namespace

ModelRun::ModelRun(const std::filesystem::path& library, const std::filesystem::path& model) {
    m_engine.Create(library, nullptr, nullptr);
    const std::u8string path = model.u8string();
    m_engine.RegisterModel(kModel, std::string(path.begin(), path.end()));
    hvq::inference::PropertyMap properties;
    for (const char* const name : {"INFERENCE_THREADS_NUMBER", "RUNTIME_STREAMS_NUMBER"}) {
        if (m_engine.GetEngineMutableProperties(kEngine).contains(name)) properties[name] = std::string("1");
    }
    m_engine.CreateNetwork(kEngine, kModel, kDevice, kModel, properties);

    m_inputDims = m_engine.GetLayerDims(kInput);
    if (m_inputDims.size() != 4 || m_inputDims[0] != 1 || m_inputDims[1] != kPlanes) {
        throw std::runtime_error("the network's input is no single picture of four planes");
    }
    const hvq::inference::Dims mask = m_engine.GetLayerDims(kMask);
    if (mask != hvq::inference::Dims{1, 1, m_inputDims[2], m_inputDims[3]}) {
        throw std::runtime_error("the network's mask has another size than its input");
    }
    m_height = static_cast<int>(m_inputDims[2]);
    m_width = static_cast<int>(m_inputDims[3]);
    m_mask.resize(static_cast<std::size_t>(m_inputDims[2] * m_inputDims[3]));
    m_input.resize(m_mask.size() * kPlanes);
}

const std::vector<std::uint8_t>& ModelRun::Infer(std::span<const std::uint8_t> rgb,
                                                 std::span<const std::uint8_t> previous) {
    const std::size_t pixels = m_mask.size();
    if (rgb.size() != 3 * pixels || previous.size() != pixels) {
        throw std::runtime_error("the frame has another size than the network");
    }
    const auto start = std::chrono::steady_clock::now();
    for (std::size_t i = 0; i < pixels; ++i) {
        for (std::size_t plane = 0; plane < 3; ++plane)
            m_input[plane * pixels + i] = static_cast<float>(rgb[3 * i + plane]);
        m_input[3 * pixels + i] = static_cast<float>(previous[i]);
    }
    m_engine.SetLayerData(kInput, m_input.data(), m_inputDims);
    m_engine.Infer();
    m_engine.CheckException();
    const auto* const mask = static_cast<const float*>(m_engine.GetLayerData(kMask));
    if (mask == nullptr) throw std::runtime_error("the network gave no mask");
    std::transform(mask, mask + pixels, m_mask.begin(), MaskByte);
    const std::chrono::duration<double, std::milli> took = std::chrono::steady_clock::now() - start;
    m_lastMilliseconds = took.count();
    return m_mask;
}

std::span<const float> ModelRun::Numbers(const std::string& layer) {
    const auto* const data = static_cast<const float*>(m_engine.GetLayerData(layer));
    if (data == nullptr) return {};
    std::size_t count = 1;
    for (const std::uint64_t dim : m_engine.GetLayerDims(layer))
        count *= static_cast<std::size_t>(dim);
    return {data, count};
}

}  // namespace network_check
