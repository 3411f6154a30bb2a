// Networks and their properties, and what a device tells of itself.
#include <array>
#include <thread>

#include "standin/call.h"
#include "standin/hvq.h"

namespace {

using standin::At;
using standin::Call;
using standin::CopyOut;
using standin::Count;
using standin::Do;
using standin::Engine;
using standin::Needed;
using standin::Text;

enum DevicePropertyType : std::int32_t { kText = 1, kNumbers = 2, kWord = 3 };

struct DeviceProperty {
    std::string_view name;
    DevicePropertyType type;
};
constexpr DeviceProperty kFullName = {"FULL_DEVICE_NAME", kText};
constexpr DeviceProperty kRuntimeVersion = {"RUNTIME_VERSION", kText};
constexpr DeviceProperty kLoadTimes = {"NETWORK_LOAD_MILLISECONDS", kNumbers};
constexpr DeviceProperty kProcessors = {"PROCESSORS", kWord};
constexpr std::array<DeviceProperty, 4> kDeviceProperties = {kFullName, kRuntimeVersion, kLoadTimes, kProcessors};

std::string_view TypeName(DevicePropertyType type) {
    if (type == kText) return "std::string";
    return type == kNumbers ? "std::unordered_map<std::string, float>" : "uint32_t";
}

const DeviceProperty& FindDeviceProperty(const char* engineName, const char* deviceName, const char* propertyName) {
    const std::string_view engine = Text(engineName, "engine_name");
    const std::string_view device = Text(deviceName, "device_name");
    const std::string_view name = Text(propertyName, "property_name");
    Engine::CheckDevice(engine, device);
    for (const DeviceProperty& property : kDeviceProperties) {
        if (property.name == name) return property;
    }
    throw std::runtime_error("device " + std::string(device) + " has no property " + std::string(name));
}

const DeviceProperty& FindDeviceProperty(const char* engineName, const char* deviceName, const char* propertyName,
                                         DevicePropertyType type) {
    const DeviceProperty& property = FindDeviceProperty(engineName, deviceName, propertyName);
    if (property.type != type) {
        throw std::runtime_error("property " + std::string(property.name) + " is a " +
                                 std::string(TypeName(property.type)) + ", not a " + std::string(TypeName(type)));
    }
    return property;
}

void RefuseWeights(bool given) {
    if (given) throw std::runtime_error("weights are given on their own: an ONNX network is one file or buffer");
}

}  // namespace

void hvqCreateNetByBuiltin(HvqEngine engine, const char* engine_name, const char* network_id, const char* device_name,
                           const char* model_id) {
    Do(engine, __func__, [&](Engine& e) {
        const std::string_view engineName = Text(engine_name, "engine_name");
        const std::string_view id = Text(network_id, "network_id");
        const std::string_view device = Text(device_name, "device_name");
        const standin::Model& model = e.FindModel(Text(model_id, "model_id"));
        e.CheckNewNetwork(engineName, id, device);
        e.CreateNetwork(engineName, id, device, standin::ReadFile(model.file), standin::Utf8(model.file));
    });
}

void hvqCreateNetByFiles(HvqEngine engine, const char* engine_name, const char* network_id, const char* device_name,
                         const char* network_path, const char* weights_path) {
    Do(engine, __func__, [&](Engine& e) {
        const std::string_view engineName = Text(engine_name, "engine_name");
        const std::string_view id = Text(network_id, "network_id");
        const std::string_view device = Text(device_name, "device_name");
        const std::filesystem::path file = standin::PathOf(Text(network_path, "network_path"));
        RefuseWeights(weights_path != nullptr && *weights_path != 0);
        e.CheckNewNetwork(engineName, id, device);
        e.CreateNetwork(engineName, id, device, standin::ReadFile(file), standin::Utf8(file));
    });
}

void hvqCreateNetByFilesWithWstring(HvqEngine engine, const wchar_t* engine_name, const wchar_t* network_id,
                                    const wchar_t* device_name, const wchar_t* network_path,
                                    const wchar_t* weights_path) {
    Do(engine, __func__, [&](Engine& e) {
        const std::string engineName = Text(engine_name, "engine_name");
        const std::string id = Text(network_id, "network_id");
        const std::string device = Text(device_name, "device_name");
        const std::filesystem::path file = standin::PathOfWide(Needed(network_path, "network_path"));
        RefuseWeights(weights_path != nullptr && *weights_path != 0);
        e.CheckNewNetwork(engineName, id, device);
        e.CreateNetwork(engineName, id, device, standin::ReadFile(file), standin::Utf8(file));
    });
}

void hvqCreateNetByBuffers(HvqEngine engine, const char* engine_name, const char* network_id, const char* device_name,
                           const void* network, uint64_t network_size, const void* weights, uint64_t weights_size) {
    Do(engine, __func__, [&](Engine& e) {
        const std::string_view engineName = Text(engine_name, "engine_name");
        const std::string_view id = Text(network_id, "network_id");
        const std::string_view device = Text(device_name, "device_name");
        const auto* const bytes = static_cast<const std::uint8_t*>(Needed(network, "network"));
        RefuseWeights(weights != nullptr && weights_size != 0);
        e.CheckNewNetwork(engineName, id, device);
        e.CreateNetwork(engineName, id, device, standin::Bytes(bytes, bytes + network_size),
                        "the buffer of network " + std::string(id));
    });
}

void hvqRemoveNetwork(HvqEngine engine, const char* network_id) {
    Do(engine, __func__, [&](Engine& e) { e.RemoveNetwork(Text(network_id, "network_id")); });
}

void hvqSwitchNetwork(HvqEngine engine, const char* network_id) {
    Do(engine, __func__, [&](Engine& e) { e.SwitchNetwork(Text(network_id, "network_id")); });
}

int32_t hvqGetCreatedNetworkIdentifiersNumber(HvqEngine engine) {
    return Call(engine, __func__, int32_t{0}, [](Engine& e) { return Count(e.Networks().size()); });
}

int32_t hvqGetCreatedNetworkIdentifierLength(HvqEngine engine, int32_t index) {
    return Call(engine, __func__, int32_t{0},
                [&](Engine& e) { return Count(At(e.Networks(), index, "networks")->id.size()); });
}

void hvqGetCreatedNetworkIdentifier(HvqEngine engine, int32_t index, char* buffer) {
    Do(engine, __func__, [&](Engine& e) { CopyOut(At(e.Networks(), index, "networks")->id, buffer); });
}

int32_t hvqGetNetworkEngineLength(HvqEngine engine, const char* network_id) {
    return Call(engine, __func__, int32_t{0},
                [&](Engine& e) { return Count(e.FindNetwork(Text(network_id, "network_id")).engineName.size()); });
}

void hvqGetNetworkEngine(HvqEngine engine, const char* network_id, char* buffer) {
    Do(engine, __func__, [&](Engine& e) { CopyOut(e.FindNetwork(Text(network_id, "network_id")).engineName, buffer); });
}

int32_t hvqGetNetworkDeviceLength(HvqEngine engine, const char* network_id) {
    return Call(engine, __func__, int32_t{0},
                [&](Engine& e) { return Count(e.FindNetwork(Text(network_id, "network_id")).deviceName.size()); });
}

void hvqGetNetworkDevice(HvqEngine engine, const char* network_id, char* buffer) {
    Do(engine, __func__, [&](Engine& e) { CopyOut(e.FindNetwork(Text(network_id, "network_id")).deviceName, buffer); });
}

int32_t hvqGetCurrentEngineLength(HvqEngine engine) {
    return Call(engine, __func__, int32_t{0}, [](Engine& e) { return Count(e.Current().engineName.size()); });
}

void hvqGetCurrentEngine(HvqEngine engine, char* buffer) {
    Do(engine, __func__, [&](Engine& e) { CopyOut(e.Current().engineName, buffer); });
}

int32_t hvqGetCurrentIdentifierLength(HvqEngine engine) {
    return Call(engine, __func__, int32_t{0}, [](Engine& e) { return Count(e.Current().id.size()); });
}

void hvqGetCurrentIdentifier(HvqEngine engine, char* buffer) {
    Do(engine, __func__, [&](Engine& e) { CopyOut(e.Current().id, buffer); });
}

int32_t hvqGetCurrentNetworkDeviceLength(HvqEngine engine) {
    return Call(engine, __func__, int32_t{0}, [](Engine& e) { return Count(e.Current().deviceName.size()); });
}

void hvqGetCurrentNetworkDevice(HvqEngine engine, char* buffer) {
    Do(engine, __func__, [&](Engine& e) { CopyOut(e.Current().deviceName, buffer); });
}

void hvqGetEngineMutableProperties(HvqEngine engine, int32_t* count, int32_t index, int32_t* name_length, char* name,
                                   int32_t* type_length, char* type, const char* engine_name) {
    Do(engine, __func__, [&](Engine&) {
        Engine::CheckEngineName(Text(engine_name, "engine_name"));
        const auto properties = standin::MutableProperties();
        if (count != nullptr) *count = Count(properties.size());
        if (name_length == nullptr && name == nullptr && type_length == nullptr && type == nullptr) return;
        const standin::Property& property = At(properties, index, "properties");
        CopyOut(property.name, name_length, name);
        CopyOut(standin::TypeName(property.type), type_length, type);
    });
}

void hvqSetEnginePropertyForNetwork(HvqEngine engine, const char* engine_name, const char* network_id,
                                    const char* property_name, const char* type_name, const void* value) {
    Do(engine, __func__, [&](Engine& e) {
        const std::string_view engineName = Text(engine_name, "engine_name");
        const std::string_view id = Text(network_id, "network_id");
        const std::string_view property = Text(property_name, "property_name");
        e.SetProperty(engineName, id, property, Text(type_name, "type_name"), value);
    });
}

int32_t hvqGetDeviceSupportPropertiesNumber(HvqEngine engine, const char* engine_name, const char* device_name) {
    return Call(engine, __func__, int32_t{0}, [&](Engine&) {
        const std::string_view engineName = Text(engine_name, "engine_name");
        Engine::CheckDevice(engineName, Text(device_name, "device_name"));
        return Count(kDeviceProperties.size());
    });
}

void hvqGetDeviceSupportPropertiesByIndex(HvqEngine engine, const char* engine_name, const char* device_name,
                                          int32_t index, int32_t* name_length, char* name, int32_t* type_length,
                                          char* type) {
    Do(engine, __func__, [&](Engine&) {
        const std::string_view engineName = Text(engine_name, "engine_name");
        Engine::CheckDevice(engineName, Text(device_name, "device_name"));
        const DeviceProperty& property = At(kDeviceProperties, index, "device properties");
        CopyOut(property.name, name_length, name);
        CopyOut(TypeName(property.type), type_length, type);
    });
}

int32_t hvqGetDevicePropertyTypeID(HvqEngine engine, const char* engine_name, const char* device_name,
                                   const char* property_name) {
    return Call(engine, __func__, int32_t{0}, [&](Engine&) {
        return static_cast<std::int32_t>(FindDeviceProperty(engine_name, device_name, property_name).type);
    });
}

void hvqGetDevicePropertyTypeString(HvqEngine engine, const char* engine_name, const char* device_name,
                                    const char* property_name, uint64_t* length, char* buffer) {
    Do(engine, __func__, [&](Engine& e) {
        const DeviceProperty& property = FindDeviceProperty(engine_name, device_name, property_name, kText);
        const std::string version = e.GetRuntime().Version();
        CopyOut(property.name == kFullName.name ? "Processor, by ONNX Runtime " + version : version, length, buffer);
    });
}

void hvqGetDevicePropertyTypeUnorderedMap_String_Float(HvqEngine engine, const char* engine_name,
                                                       const char* device_name, const char* property_name,
                                                       int32_t* count, int32_t index, int32_t* key_length, char* key,
                                                       float* value) {
    Do(engine, __func__, [&](Engine& e) {
        (void)FindDeviceProperty(engine_name, device_name, property_name, kNumbers);
        if (count != nullptr) *count = Count(e.Networks().size());
        if (key_length == nullptr && key == nullptr && value == nullptr) return;
        const standin::NamedNetwork& network = *At(e.Networks(), index, "networks");
        CopyOut(network.id, key_length, key);
        if (value != nullptr) *value = network.network->LoadMilliseconds();
    });
}

void hvqGetDevicePropertyTypeGeneral(HvqEngine engine, const char* engine_name, const char* device_name,
                                     const char* property_name, uint64_t* size, void* value) {
    Do(engine, __func__, [&](Engine&) {
        (void)FindDeviceProperty(engine_name, device_name, property_name, kWord);
        const std::uint32_t processors = std::thread::hardware_concurrency();
        if (size != nullptr) *size = sizeof(processors);
        if (value != nullptr) std::memcpy(value, &processors, sizeof(processors));
    });
}
