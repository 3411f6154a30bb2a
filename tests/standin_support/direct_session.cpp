#include "standin_support/direct_session.h"

namespace standin_support {

DirectSession::DirectSession(const std::filesystem::path& network, const std::vector<float>& input) {
    const OrtApi& api = m_runtime.Api();
    const auto check = [this](OrtStatus* status) { m_runtime.Check(status); };

    OrtSessionOptions* options = nullptr;
    check(api.CreateSessionOptions(&options));
    const standin::SessionOptionsOwner optionsOwner(options);
    check(api.SetSessionGraphOptimizationLevel(options, ORT_ENABLE_ALL));
    check(api.SetIntraOpNumThreads(options, 1));
    check(api.SetInterOpNumThreads(options, 1));
    check(api.SetSessionExecutionMode(options, ORT_SEQUENTIAL));
    OrtSession* session = nullptr;
    check(api.CreateSession(&m_runtime.Environment(), network.c_str(), options, &session));
    m_session.reset(session);

    OrtAllocator* allocator = nullptr;
    check(api.GetAllocatorWithDefaultOptions(&allocator));
    OrtMemoryInfo* memory = nullptr;
    check(api.CreateCpuMemoryInfo(OrtDeviceAllocator, OrtMemTypeDefault, &memory));
    const standin::MemoryInfoOwner memoryOwner(memory);
    OrtIoBinding* binding = nullptr;
    check(api.CreateIoBinding(session, &binding));
    m_binding.reset(binding);

    const auto bind = [&](bool isInput, std::size_t index) {
        OrtTypeInfo* info = nullptr;
        check(isInput ? api.SessionGetInputTypeInfo(session, index, &info)
                      : api.SessionGetOutputTypeInfo(session, index, &info));
        const standin::TypeInfoOwner infoOwner(info);
        const OrtTensorTypeAndShapeInfo* shape = nullptr;
        check(api.CastTypeInfoToTensorInfo(info, &shape));
        std::size_t count = 0;
        check(api.GetDimensionsCount(shape, &count));
        std::vector<std::int64_t> dims(count);
        check(api.GetDimensions(shape, dims.data(), count));
        char* name = nullptr;
        check(isInput ? api.SessionGetInputName(session, index, allocator, &name)
                      : api.SessionGetOutputName(session, index, allocator, &name));
        OrtValue* value = nullptr;
        if (isInput) {
            check(api.CreateTensorWithDataAsOrtValue(memory, const_cast<float*>(input.data()),
                                                     input.size() * sizeof(float), dims.data(), dims.size(),
                                                     ONNX_TENSOR_ELEMENT_DATA_TYPE_FLOAT, &value));
            check(api.BindInput(binding, name, value));
        } else {
            check(api.CreateTensorAsOrtValue(allocator, dims.data(), dims.size(), ONNX_TENSOR_ELEMENT_DATA_TYPE_FLOAT,
                                             &value));
            check(api.BindOutput(binding, name, value));
            void* data = nullptr;
            check(api.GetTensorMutableData(value, &data));
            if (m_firstOutput == nullptr) m_firstOutput = static_cast<const float*>(data);
        }
        m_values.emplace_back(value);
        check(api.AllocatorFree(allocator, name));
    };
    bind(true, 0);
    std::size_t outputs = 0;
    check(api.SessionGetOutputCount(session, &outputs));
    for (std::size_t i = 0; i < outputs; ++i)
        bind(false, i);
}

void DirectSession::Run() {
    m_runtime.Check(m_runtime.Api().RunWithBinding(m_session.get(), nullptr, m_binding.get()));
}

}  // namespace standin_support
