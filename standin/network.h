#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "standin/network_cache.h"
#include "standin/network_settings.h"
#include "standin/remarks.h"
#include "standin/runtime.h"

namespace standin {

// One layer at a network's edge, an input or an output.
struct Layer {
    std::string name;
    std::string_view precision;  // of its elements: "FP32" and the like
    std::vector<std::uint64_t> dims;
    std::vector<std::int64_t> signedDims;  // the same, as ONNX Runtime wants them
    ONNXTensorElementDataType type = ONNX_TENSOR_ELEMENT_DATA_TYPE_UNDEFINED;
    std::size_t bytes = 0;  // of its whole data
    ValueOwner value;       // input: around the data that was lent last; output: owns the data, from start to end
    void* data = nullptr;   // what value is around
    bool lent = false;      // input: there is data for the next inference
};

// A network that can run: fixed shapes, every layer of a plain type of number. Thread: one at a time.
class Network {
 public:
    // `bytes` is an ONNX network; `source` names it in error texts. With a cache folder, the optimised network is taken
    // from there, or put there. A cache that doesn't work is no failure: `remarks` hears of it. `remarks` outlives the
    // network, which speaks to it as long as it lives.
    // Throws std::runtime_error with the source and the reason when the bytes are no network that can run here.
    Network(const Runtime& runtime, const Bytes& bytes, const std::string& source, const NetworkSettings& settings,
            Remarks& remarks);

    [[nodiscard]] std::span<const Layer> Inputs() const { return m_inputs; }
    [[nodiscard]] std::span<const Layer> Outputs() const { return m_outputs; }

    // An input or output. Throws std::runtime_error that names the layers there are.
    [[nodiscard]] const Layer& FindLayer(std::string_view name) const;

    // Lends the network the data of an input until the next Infer has ended. Allocates nothing when the address is the
    // one from before. Throws std::runtime_error: no such input, no data, other dimensions.
    void SetInput(std::string_view name, const void* data, std::span<const std::uint64_t> dims);

    // See hvqGetLayerData.
    [[nodiscard]] const void* Data(std::string_view name) const;

    // Runs the network. Throws std::runtime_error: an input without data, or ONNX Runtime's reason.
    void Infer();

    // What making it took.
    [[nodiscard]] float LoadMilliseconds() const { return m_loadMilliseconds; }

 private:
    void Load(const Bytes& bytes, const std::string& source, const NetworkSettings& settings);
    void LoadThroughCache(const Bytes& bytes, const NetworkSettings& settings);
    [[nodiscard]] SessionOptionsOwner MakeOptions(const NetworkSettings& settings) const;
    [[nodiscard]] SessionOwner MakeSession(const OrtSessionOptions& options, const Bytes& bytes) const;
    void ReadLayers();
    void Bind();

    const Runtime& m_runtime;
    Remarks& m_remarks;
    SessionOwner m_session;  // before what works on it, so that it goes last
    MemoryInfoOwner m_memory;
    std::vector<Layer> m_inputs;
    std::vector<Layer> m_outputs;
    BindingOwner m_binding;
    bool m_hasResults = false;
    float m_loadMilliseconds = 0;
};

}  // namespace standin
