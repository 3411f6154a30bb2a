#include "standin/network.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <limits>
#include <optional>
#include <stdexcept>

#include "standin/runtime_library.h"
#include "standin/texts.h"

namespace standin {
namespace {

struct ElementType {
    ONNXTensorElementDataType type;
    std::string_view precision;
    std::size_t bytes;
};
constexpr std::array<ElementType, 12> kElementTypes = {{
    {ONNX_TENSOR_ELEMENT_DATA_TYPE_FLOAT, "FP32", 4},
    {ONNX_TENSOR_ELEMENT_DATA_TYPE_FLOAT16, "FP16", 2},
    {ONNX_TENSOR_ELEMENT_DATA_TYPE_DOUBLE, "FP64", 8},
    {ONNX_TENSOR_ELEMENT_DATA_TYPE_INT8, "I8", 1},
    {ONNX_TENSOR_ELEMENT_DATA_TYPE_INT16, "I16", 2},
    {ONNX_TENSOR_ELEMENT_DATA_TYPE_INT32, "I32", 4},
    {ONNX_TENSOR_ELEMENT_DATA_TYPE_INT64, "I64", 8},
    {ONNX_TENSOR_ELEMENT_DATA_TYPE_UINT8, "U8", 1},
    {ONNX_TENSOR_ELEMENT_DATA_TYPE_UINT16, "U16", 2},
    {ONNX_TENSOR_ELEMENT_DATA_TYPE_UINT32, "U32", 4},
    {ONNX_TENSOR_ELEMENT_DATA_TYPE_UINT64, "U64", 8},
    {ONNX_TENSOR_ELEMENT_DATA_TYPE_BOOL, "BOOL", 1},
}};

// Far above any layer of use, and low enough that no product of dimensions wraps.
constexpr std::uint64_t kMostElements = std::uint64_t{1} << 32;

Severity SeverityOf(OrtLoggingLevel level) {
    if (level >= ORT_LOGGING_LEVEL_ERROR) return Severity::Error;
    if (level == ORT_LOGGING_LEVEL_WARNING) return Severity::Warning;
    return level == ORT_LOGGING_LEVEL_INFO ? Severity::Information : Severity::Detail;
}

void ORT_API_CALL ForwardRemark(void* remarks, OrtLoggingLevel severity, const char*, const char*, const char*,
                                const char* message) {
    try {
        static_cast<Remarks*>(remarks)->Say(SeverityOf(severity), std::string("ONNX Runtime: ") + message);
    } catch (...) {  // NOLINT(bugprone-empty-catch): no memory for the text; it would be lost in any case
    }
}

// Fills in what the type says of a layer whose name is set.
void Describe(const OrtApi& api, const Runtime& runtime, const OrtTypeInfo& info, Layer& layer) {
    const auto refuse = [&layer](const std::string& reason) {
        throw std::runtime_error("layer " + layer.name + " " + reason);
    };
    const OrtTensorTypeAndShapeInfo* tensor = nullptr;
    runtime.Check(api.CastTypeInfoToTensorInfo(&info, &tensor));
    if (tensor == nullptr) refuse("is no array of numbers");
    runtime.Check(api.GetTensorElementType(tensor, &layer.type));
    const auto* const known = std::find_if(kElementTypes.begin(), kElementTypes.end(),
                                           [&layer](const ElementType& entry) { return entry.type == layer.type; });
    if (known == kElementTypes.end()) refuse("holds elements of a type that can't be handed over");
    layer.precision = known->precision;

    std::size_t count = 0;
    runtime.Check(api.GetDimensionsCount(tensor, &count));
    layer.signedDims.resize(count);
    runtime.Check(api.GetDimensions(tensor, layer.signedDims.data(), count));
    std::uint64_t elements = 1;
    for (std::size_t i = 0; i < count; ++i) {
        const std::int64_t dim = layer.signedDims[i];
        if (dim < 1) refuse("has no fixed size in dimension " + std::to_string(i) + "; all sizes have to be fixed");
        if (static_cast<std::uint64_t>(dim) > kMostElements / elements) refuse("is too large");
        elements *= static_cast<std::uint64_t>(dim);
        layer.dims.push_back(static_cast<std::uint64_t>(dim));
    }
    layer.bytes = static_cast<std::size_t>(elements) * known->bytes;
}

std::string Names(std::span<const Layer> layers) {
    std::string text;
    for (const Layer& layer : layers)
        text += (text.empty() ? "" : ", ") + layer.name;
    return text;
}

template <typename Layers>
auto* Find(Layers& layers, std::string_view name) {
    const auto found =
        std::find_if(layers.begin(), layers.end(), [name](const Layer& each) { return each.name == name; });
    return found == layers.end() ? nullptr : &*found;
}

}  // namespace

Network::Network(const Runtime& runtime, const Bytes& bytes, const std::string& source, const NetworkSettings& settings,
                 Remarks& remarks)
    : m_runtime(runtime), m_remarks(remarks) {
    const auto start = std::chrono::steady_clock::now();
    if (bytes.empty()) throw std::runtime_error(source + ": it is empty");
    Load(bytes, source, settings);
    try {
        ReadLayers();
        Bind();
    } catch (const std::runtime_error& error) {
        throw std::runtime_error(source + ": " + error.what());
    }
    const std::chrono::duration<float, std::milli> took = std::chrono::steady_clock::now() - start;
    m_loadMilliseconds = took.count();
}

const Layer& Network::FindLayer(std::string_view name) const {
    if (const Layer* const input = Find(m_inputs, name)) return *input;
    if (const Layer* const output = Find(m_outputs, name)) return *output;
    throw std::runtime_error("the network has no layer " + std::string(name) + "; its inputs are " + Names(m_inputs) +
                             ", its outputs " + Names(m_outputs));
}

void Network::SetInput(std::string_view name, const void* data, std::span<const std::uint64_t> dims) {
    Layer* const input = Find(m_inputs, name);
    if (input == nullptr) {
        const Layer& other = FindLayer(name);  // throws when there is none at all
        throw std::runtime_error("layer " + other.name + " is an output; the inputs are " + Names(m_inputs));
    }
    if (data == nullptr) throw std::runtime_error("layer " + input->name + " got a null data pointer");
    if (!std::equal(dims.begin(), dims.end(), input->dims.begin(), input->dims.end())) {
        throw std::runtime_error("layer " + input->name + " is " + DimsText(input->dims) + ", the data is " +
                                 DimsText({dims.begin(), dims.end()}));
    }
    if (data != input->data) {
        // ONNX Runtime takes no pointer to const, but only reads what stands behind an input.
        void* const writable = const_cast<void*>(data);
        OrtValue* value = nullptr;
        m_runtime.Check(m_runtime.Api().CreateTensorWithDataAsOrtValue(m_memory.get(), writable, input->bytes,
                                                                       input->signedDims.data(),
                                                                       input->signedDims.size(), input->type, &value));
        ValueOwner owner(value);
        m_runtime.Check(m_runtime.Api().BindInput(m_binding.get(), input->name.c_str(), value));
        input->value = std::move(owner);
        input->data = writable;
    }
    input->lent = true;
}

const void* Network::Data(std::string_view name) const {
    if (const Layer* const output = Find(m_outputs, name)) return m_hasResults ? output->data : nullptr;
    const Layer* const input = Find(m_inputs, name);
    return input != nullptr && input->lent ? input->data : nullptr;
}

void Network::Infer() {
    for (const Layer& input : m_inputs) {
        if (!input.lent) {
            throw std::runtime_error("layer " + input.name + " has no data; each inference needs it set anew");
        }
    }
    for (Layer& input : m_inputs)
        input.lent = false;
    m_hasResults = false;
    m_runtime.Check(m_runtime.Api().RunWithBinding(m_session.get(), nullptr, m_binding.get()));
    m_hasResults = true;
}

void Network::Load(const Bytes& bytes, const std::string& source, const NetworkSettings& settings) {
    if (!settings.cacheFolder.empty()) {
        try {
            LoadThroughCache(bytes, settings);
        } catch (const std::exception& error) {
            m_remarks.Say(Severity::Warning, source + ": not cached: " + error.what());
        }
    }
    if (m_session != nullptr) return;
    try {
        m_session = MakeSession(*MakeOptions(settings), bytes);
    } catch (const std::runtime_error& error) {
        throw std::runtime_error(source + ": it is no network that can run here: " + error.what());
    }
}

// The optimised network is laid out for the processor at hand, so it is kept under the processor's name, too.
void Network::LoadThroughCache(const Bytes& bytes, const NetworkSettings& settings) {
    const OrtApi& api = m_runtime.Api();
    const NetworkCache cache(settings.cacheFolder);
    const std::string processor = ProcessorIdentity();
    if (processor.empty()) throw std::runtime_error("the system doesn't tell which processor this is");
    const Digest key = Fingerprint(Hex(Fingerprint(bytes)) + "\n" + m_runtime.Version() + "\n" + processor);

    if (const std::optional<Bytes> optimised = cache.Read(key)) {
        const SessionOptionsOwner options = MakeOptions(settings);
        m_runtime.Check(api.SetSessionGraphOptimizationLevel(options.get(), ORT_DISABLE_ALL));
        m_session = MakeSession(*options, *optimised);
        m_remarks.Say(Severity::Information, "optimised network taken from " + Utf8(cache.FileOf(key)));
        return;
    }
    const SessionOptionsOwner options = MakeOptions(settings);
    const std::filesystem::path file = cache.TemporaryFile();
    const FileRemover remover(file);
    m_runtime.Check(api.SetOptimizedModelFilePath(options.get(), file.c_str()));
    // Without its warning that the file fits this processor only.
    m_runtime.Check(api.SetSessionLogSeverityLevel(options.get(), ORT_LOGGING_LEVEL_ERROR));
    m_session = MakeSession(*options, bytes);
    cache.Write(key, ReadFile(file));
    m_remarks.Say(Severity::Information, "optimised network kept in " + Utf8(cache.FileOf(key)));
}

SessionOptionsOwner Network::MakeOptions(const NetworkSettings& settings) const {
    const OrtApi& api = m_runtime.Api();
    const auto check = [this](OrtStatus* status) { m_runtime.Check(status); };
    OrtSessionOptions* made = nullptr;
    check(api.CreateSessionOptions(&made));
    SessionOptionsOwner options(made);
    check(api.SetSessionGraphOptimizationLevel(made, ORT_ENABLE_ALL));
    check(api.SetIntraOpNumThreads(made, settings.threads));
    check(api.SetInterOpNumThreads(made, settings.streams));
    check(api.SetSessionExecutionMode(made, settings.streams > 1 ? ORT_PARALLEL : ORT_SEQUENTIAL));
    // Threads that wait give their processor away: the media engine needs it more.
    check(api.AddSessionConfigEntry(made, "session.intra_op.allow_spinning", "0"));
    check(api.AddSessionConfigEntry(made, "session.inter_op.allow_spinning", "0"));
    check(api.SetUserLoggingFunction(made, &ForwardRemark, &m_remarks));
    check(api.SetSessionLogSeverityLevel(made, ORT_LOGGING_LEVEL_WARNING));
    return options;
}

SessionOwner Network::MakeSession(const OrtSessionOptions& options, const Bytes& bytes) const {
    OrtSession* session = nullptr;
    m_runtime.Check(m_runtime.Api().CreateSessionFromArray(&m_runtime.Environment(), bytes.data(), bytes.size(),
                                                           &options, &session));
    return SessionOwner(session);
}

void Network::ReadLayers() {
    const OrtApi& api = m_runtime.Api();
    OrtAllocator* allocator = nullptr;
    m_runtime.Check(api.GetAllocatorWithDefaultOptions(&allocator));
    const auto read = [&](std::size_t index, auto getName, auto getType) {
        Layer layer;
        char* name = nullptr;
        m_runtime.Check(getName(m_session.get(), index, allocator, &name));
        try {
            layer.name = name;
        } catch (...) {
            m_runtime.Check(api.AllocatorFree(allocator, name));
            throw;
        }
        m_runtime.Check(api.AllocatorFree(allocator, name));
        OrtTypeInfo* info = nullptr;
        m_runtime.Check(getType(m_session.get(), index, &info));
        const TypeInfoOwner owner(info);
        Describe(api, m_runtime, *info, layer);
        return layer;
    };
    std::size_t count = 0;
    m_runtime.Check(api.SessionGetInputCount(m_session.get(), &count));
    for (std::size_t i = 0; i < count; ++i) {
        m_inputs.push_back(read(i, api.SessionGetInputName, api.SessionGetInputTypeInfo));
    }
    m_runtime.Check(api.SessionGetOutputCount(m_session.get(), &count));
    for (std::size_t i = 0; i < count; ++i) {
        m_outputs.push_back(read(i, api.SessionGetOutputName, api.SessionGetOutputTypeInfo));
    }
}

// Outputs get their memory once, here: an inference writes where hvqGetLayerData points.
void Network::Bind() {
    const OrtApi& api = m_runtime.Api();
    OrtMemoryInfo* memory = nullptr;
    m_runtime.Check(api.CreateCpuMemoryInfo(OrtDeviceAllocator, OrtMemTypeDefault, &memory));
    m_memory.reset(memory);
    OrtAllocator* allocator = nullptr;
    m_runtime.Check(api.GetAllocatorWithDefaultOptions(&allocator));
    OrtIoBinding* binding = nullptr;
    m_runtime.Check(api.CreateIoBinding(m_session.get(), &binding));
    m_binding.reset(binding);
    for (Layer& output : m_outputs) {
        OrtValue* value = nullptr;
        m_runtime.Check(api.CreateTensorAsOrtValue(allocator, output.signedDims.data(), output.signedDims.size(),
                                                   output.type, &value));
        output.value.reset(value);
        m_runtime.Check(api.GetTensorMutableData(value, &output.data));
        m_runtime.Check(api.BindOutput(m_binding.get(), output.name.c_str(), value));
    }
}

}  // namespace standin
