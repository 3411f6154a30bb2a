// The inference library's 60 functions, as the process calls them. Those that it never calls only leave a trace in the
// record.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "turn.h"

namespace {

using hvq_double::EngineOffer;
using hvq_double::Function;
using hvq_double::LayerOffer;
using hvq_double::Network;
using hvq_double::Number;
using hvq_double::Numbers;
using hvq_double::Pointer;
using hvq_double::Property;
using hvq_double::Tensor;
using hvq_double::Text;
using hvq_double::Turn;
using hvq_double::WideText;

void CopyTo(char* buffer, std::string_view text) {
    if (buffer != nullptr) std::copy(text.begin(), text.end(), buffer);
}

bool Contains(const std::vector<std::string>& list, const std::string& text) {
    return std::find(list.begin(), list.end(), text) != list.end();
}

// An entry of a list; the empty text, with a complaint, for an index outside it.
std::string Entry(Turn& turn, const std::vector<std::string>& list, std::int32_t index) {
    if (index >= 0 && static_cast<std::size_t>(index) < list.size()) return list[static_cast<std::size_t>(index)];
    turn.Complain("Index " + std::to_string(index) + " is out of range.");
    return {};
}

std::int32_t Count(const std::vector<std::string>& list) {
    return static_cast<std::int32_t>(list.size());
}

std::int32_t Length(const std::string& text) {
    return static_cast<std::int32_t>(text.size());
}

std::vector<std::string> EngineNames(Turn& turn) {
    std::vector<std::string> names;
    for (const EngineOffer& engine : turn.scenario().engines)
        names.push_back(engine.name);
    return names;
}

// What an engine offers; null, with a complaint, when there is no such engine.
EngineOffer* OfferOf(Turn& turn, const char* engineName) {
    EngineOffer* const offer = turn.scenario().FindEngine(engineName);
    if (offer == nullptr) turn.Complain(std::string("There is no engine ") + engineName + ".");
    return offer;
}

std::vector<std::string> Devices(Turn& turn, const char* engineName) {
    const EngineOffer* const offer = OfferOf(turn, engineName);
    return offer == nullptr ? std::vector<std::string>() : offer->devices;
}

// The engine's own models, then those that were registered.
std::vector<std::string> Models(Turn& turn, const char* engineName) {
    const EngineOffer* const offer = OfferOf(turn, engineName);
    if (offer == nullptr) return {};
    std::vector<std::string> models = offer->models;
    if (turn.engine() != nullptr) {
        models.insert(models.end(), turn.engine()->registered.begin(), turn.engine()->registered.end());
    }
    return models;
}

std::string CurrentDevice(Turn& turn) {
    const Network* const network = turn.NetworkOrComplaint();
    if (network == nullptr) return {};
    return turn.scenario().currentDevice.value_or(network->device);
}

// A layer by its name, found without making a string of it; null when there is none.
const LayerOffer* LayerOf(Turn& turn, const char* layerName) {
    for (const LayerOffer& layer : turn.scenario().layers) {
        if (layer.name == layerName) return &layer;
    }
    return nullptr;
}

}  // namespace

extern "C" {

void* hvqCreateWithLibraryLoader(void* loaderFirst, void* loaderSecond) {
    Turn turn(Function::hvqCreateWithLibraryLoader, nullptr, Pointer{loaderFirst}, Pointer{loaderSecond});
    if (turn.Fails()) return nullptr;
    turn.ResetPending();  // of this thread's creation before
    if (turn.GivesNull()) return nullptr;
    if (turn.Obstacle() != nullptr) {
        turn.Complain(*turn.Obstacle());
        return nullptr;
    }
    return turn.AddEngine();
}

void hvqDestory(void* engine) {
    Turn turn(Function::hvqDestory, engine);
    turn.RemoveEngine(engine);
}

void hvqRegisterModelAsInnerIDwithString(void* engine, const char* modelId, const char* modelLibPath) {
    Turn turn(Function::hvqRegisterModelAsInnerIDwithString, engine, Text{modelId}, Text{modelLibPath});
    if (turn.Fails() || turn.engine() == nullptr) return;
    turn.engine()->registered.emplace_back(modelId);
}

std::int32_t hvqGetSupportEngineNumber(void* engine) {
    Turn turn(Function::hvqGetSupportEngineNumber, engine);
    return turn.Answer(turn.Fails() ? 0 : Count(EngineNames(turn)));
}

std::int32_t hvqGetSupportEngineLength(void* engine, std::int32_t index) {
    Turn turn(Function::hvqGetSupportEngineLength, engine, Number{index});
    return turn.Answer(turn.Fails() ? 0 : Length(Entry(turn, EngineNames(turn), index)));
}

void hvqGetSupportEngine(void* engine, std::int32_t index, char* buffer) {
    Turn turn(Function::hvqGetSupportEngine, engine, Number{index}, Pointer{buffer});
    if (!turn.Fails()) CopyTo(buffer, Entry(turn, EngineNames(turn), index));
}

void hvqSelfVersion(void* engine, std::uint64_t* lengthOut, char* buffer) {
    Turn turn(Function::hvqSelfVersion, engine, Pointer{lengthOut}, Pointer{buffer});
    if (turn.Fails()) return;
    const std::string& version = turn.scenario().version;
    if (lengthOut != nullptr) *lengthOut = turn.Answer(static_cast<std::uint64_t>(version.size()));
    CopyTo(buffer, version);
}

std::int32_t hvqGetSupportDeviceNumber(void* engine, const char* engineName) {
    Turn turn(Function::hvqGetSupportDeviceNumber, engine, Text{engineName});
    return turn.Answer(turn.Fails() ? 0 : Count(Devices(turn, engineName)));
}

std::int32_t hvqGetSupportDeviceLength(void* engine, const char* engineName, std::int32_t index) {
    Turn turn(Function::hvqGetSupportDeviceLength, engine, Text{engineName}, Number{index});
    return turn.Answer(turn.Fails() ? 0 : Length(Entry(turn, Devices(turn, engineName), index)));
}

void hvqGetSupportDevice(void* engine, const char* engineName, std::int32_t index, char* buffer) {
    Turn turn(Function::hvqGetSupportDevice, engine, Text{engineName}, Number{index}, Pointer{buffer});
    if (!turn.Fails()) CopyTo(buffer, Entry(turn, Devices(turn, engineName), index));
}

void hvqCreateNetByBuiltin(void* engine, const char* engineName, const char* networkId, const char* deviceName,
                           const char* modelId) {
    Turn turn(Function::hvqCreateNetByBuiltin, engine, Text{engineName}, Text{networkId}, Text{deviceName},
              Text{modelId});
    if (turn.Fails() || turn.engine() == nullptr) return;
    if (!Contains(Devices(turn, engineName), deviceName)) {
        turn.Complain(std::string("There is no device ") + deviceName + ".");
    } else if (!Contains(Models(turn, engineName), modelId)) {
        turn.Complain(std::string("There is no model ") + modelId + ".");
    } else {
        Network network;
        network.id = networkId;
        network.device = deviceName;
        for (const LayerOffer& layer : turn.scenario().layers)
            (void)network.TensorOf(layer);
        turn.engine()->network = std::move(network);
    }
}

std::int32_t hvqGetSupportBuiltinModelNumber(void* engine, const char* engineName) {
    Turn turn(Function::hvqGetSupportBuiltinModelNumber, engine, Text{engineName});
    return turn.Answer(turn.Fails() ? 0 : Count(Models(turn, engineName)));
}

std::int32_t hvqGetSupportBuiltinModelLength(void* engine, const char* engineName, std::int32_t index) {
    Turn turn(Function::hvqGetSupportBuiltinModelLength, engine, Text{engineName}, Number{index});
    return turn.Answer(turn.Fails() ? 0 : Length(Entry(turn, Models(turn, engineName), index)));
}

void hvqGetSupportBuiltinModelID(void* engine, const char* engineName, std::int32_t index, char* buffer) {
    Turn turn(Function::hvqGetSupportBuiltinModelID, engine, Text{engineName}, Number{index}, Pointer{buffer});
    if (!turn.Fails()) CopyTo(buffer, Entry(turn, Models(turn, engineName), index));
}

std::int32_t hvqGetCurrentNetworkDeviceLength(void* engine) {
    Turn turn(Function::hvqGetCurrentNetworkDeviceLength, engine);
    return turn.Answer(turn.Fails() ? 0 : Length(CurrentDevice(turn)));
}

void hvqGetCurrentNetworkDevice(void* engine, char* buffer) {
    Turn turn(Function::hvqGetCurrentNetworkDevice, engine, Pointer{buffer});
    if (!turn.Fails()) CopyTo(buffer, CurrentDevice(turn));
}

void hvqSetLayerData(void* engine, const char* layerName, const void* data, const std::uint64_t* dims,
                     std::uint64_t dimsCount) {
    Turn turn(Function::hvqSetLayerData, engine, Text{layerName}, Pointer{data}, Numbers{dims, dimsCount},
              Number{static_cast<std::int64_t>(dimsCount)});
    if (turn.Fails()) return;
    Network* const network = turn.NetworkOrComplaint();
    if (network == nullptr) return;
    const LayerOffer* const layer = LayerOf(turn, layerName);
    if (layer == nullptr || !layer->isInput) {
        turn.Complain(std::string("There is no input layer ") + layerName + ".");
    } else if (dims == nullptr || !std::equal(dims, dims + dimsCount, layer->dims.begin(), layer->dims.end())) {
        turn.Complain(std::string("The data has not the shape of ") + layerName + ".");
    } else if (data == nullptr) {
        turn.Complain(std::string("There is no data for ") + layerName + ".");
    } else if (!hvq_double::ElementCount(layer->dims)) {
        turn.Complain(std::string("The layer ") + layerName + " is too large.");
    } else {
        Tensor& tensor = network->TensorOf(*layer);
        const auto* const elements = static_cast<const float*>(data);
        std::copy(elements, elements + tensor.data.size(), tensor.data.begin());
        turn.KeepInput(tensor);
    }
}

const void* hvqGetLayerData(void* engine, const char* layerName) {
    Turn turn(Function::hvqGetLayerData, engine, Text{layerName});
    if (turn.Fails() || turn.GivesNull()) return nullptr;
    Network* const network = turn.NetworkOrComplaint();
    const LayerOffer* const layer = LayerOf(turn, layerName);
    if (network == nullptr || layer == nullptr || !layer->hasData) return nullptr;
    return network->TensorOf(*layer).data.data();
}

void hvqGetLayerDims(void* engine, const char* layerName, std::uint64_t* dims, std::uint64_t* count) {
    Turn turn(Function::hvqGetLayerDims, engine, Text{layerName}, Pointer{dims},
              Number{static_cast<std::int64_t>(*count)});
    if (turn.Fails() || turn.NetworkOrComplaint() == nullptr) return;
    const LayerOffer* const layer = LayerOf(turn, layerName);
    if (layer == nullptr) {
        turn.Complain(std::string("There is no layer ") + layerName + ".");
        return;
    }
    if (dims == nullptr) {
        *count = turn.Answer(static_cast<std::uint64_t>(layer->dims.size()));
    } else {
        const auto room = static_cast<std::size_t>(*count);
        std::copy_n(layer->dims.begin(), std::min(room, layer->dims.size()), dims);
    }
}

void hvqInfer(void* engine) {
    Turn turn(Function::hvqInfer, engine);
    if (turn.Fails()) return;
    Network* const network = turn.NetworkOrComplaint();
    if (network != nullptr) turn.InferOnce(*network);
}

std::uint8_t hvqHasException(void* engine) {
    Turn turn(Function::hvqHasException, engine);
    return turn.Pending() != nullptr ? 1 : 0;
}

void hvqGetExceptionStringLength(void* engine, std::uint64_t* lengthOut) {
    Turn turn(Function::hvqGetExceptionStringLength, engine, Pointer{lengthOut});
    const std::string* const pending = turn.Pending();
    turn.Write(lengthOut, pending == nullptr ? std::uint64_t{0} : static_cast<std::uint64_t>(pending->size()));
}

void hvqGetExceptionString(void* engine, char* buffer) {
    Turn turn(Function::hvqGetExceptionString, engine, Pointer{buffer});
    if (const std::string* const pending = turn.Pending()) CopyTo(buffer, *pending);
}

void hvqResetExceptionString(void* engine) {
    Turn turn(Function::hvqResetExceptionString, engine);
    turn.ResetPending();
}

void hvqGetEngineMutableProperties(void* engine, std::int32_t* countOut, std::int32_t index,
                                   std::int32_t* nameLengthOut, char* name, std::int32_t* typeLengthOut, char* type,
                                   const char* engineName) {
    Turn turn(Function::hvqGetEngineMutableProperties, engine, Pointer{countOut}, Number{index}, Pointer{nameLengthOut},
              Pointer{name}, Pointer{typeLengthOut}, Pointer{type}, Text{engineName});
    if (turn.Fails()) return;
    const EngineOffer* const offer = OfferOf(turn, engineName);
    if (offer == nullptr) return;
    if (countOut != nullptr) {
        turn.Write(countOut, 0, static_cast<std::int32_t>(offer->properties.size()));
        return;
    }
    if (index < 0 || static_cast<std::size_t>(index) >= offer->properties.size()) {
        turn.Complain("Index " + std::to_string(index) + " is out of range.");
        return;
    }
    const Property& property = offer->properties[static_cast<std::size_t>(index)];
    turn.Write(nameLengthOut, 0, Length(property.name));
    turn.Write(typeLengthOut, 1, Length(property.type));
    CopyTo(name, property.name);
    CopyTo(type, property.type);
}

void hvqSetEnginePropertyForNetwork(void* engine, const char* engineName, const char* networkId,
                                    const char* propertyName, const char* typeName, const void* value) {
    const auto turnWith = [&](auto shownValue) {
        const Turn turn(Function::hvqSetEnginePropertyForNetwork, engine, Text{engineName}, Text{networkId},
                        Text{propertyName}, Text{typeName}, shownValue);
    };
    const std::string_view type = typeName;
    if (type == "std::filesystem::path") {
        turnWith(WideText{static_cast<const wchar_t*>(value)});
    } else if (type == "std::string") {
        turnWith(Text{static_cast<const char*>(value)});
    } else {
        turnWith(Pointer{value});
    }
}

void hvqCreate() {
    const Turn turn(Function::hvqCreate, nullptr);
}
void hvqRegisterModelAsInnerIDwithWString() {
    const Turn turn(Function::hvqRegisterModelAsInnerIDwithWString, nullptr);
}
void hvqUnregisterInnerID() {
    const Turn turn(Function::hvqUnregisterInnerID, nullptr);
}
void hvqVersion() {
    const Turn turn(Function::hvqVersion, nullptr);
}
void hvqCreateNetByFiles() {
    const Turn turn(Function::hvqCreateNetByFiles, nullptr);
}
void hvqCreateNetByFilesWithWstring() {
    const Turn turn(Function::hvqCreateNetByFilesWithWstring, nullptr);
}
void hvqCreateNetByBuffers() {
    const Turn turn(Function::hvqCreateNetByBuffers, nullptr);
}
void hvqRemoveNetwork() {
    const Turn turn(Function::hvqRemoveNetwork, nullptr);
}
void hvqSwitchNetwork() {
    const Turn turn(Function::hvqSwitchNetwork, nullptr);
}
void hvqGetCreatedNetworkIdentifiersNumber() {
    const Turn turn(Function::hvqGetCreatedNetworkIdentifiersNumber, nullptr);
}
void hvqGetCreatedNetworkIdentifierLength() {
    const Turn turn(Function::hvqGetCreatedNetworkIdentifierLength, nullptr);
}
void hvqGetCreatedNetworkIdentifier() {
    const Turn turn(Function::hvqGetCreatedNetworkIdentifier, nullptr);
}
void hvqGetNetworkEngineLength() {
    const Turn turn(Function::hvqGetNetworkEngineLength, nullptr);
}
void hvqGetNetworkEngine() {
    const Turn turn(Function::hvqGetNetworkEngine, nullptr);
}
void hvqGetNetworkDeviceLength() {
    const Turn turn(Function::hvqGetNetworkDeviceLength, nullptr);
}
void hvqGetNetworkDevice() {
    const Turn turn(Function::hvqGetNetworkDevice, nullptr);
}
void hvqGetCurrentEngineLength() {
    const Turn turn(Function::hvqGetCurrentEngineLength, nullptr);
}
void hvqGetCurrentEngine() {
    const Turn turn(Function::hvqGetCurrentEngine, nullptr);
}
void hvqGetCurrentIdentifierLength() {
    const Turn turn(Function::hvqGetCurrentIdentifierLength, nullptr);
}
void hvqGetCurrentIdentifier() {
    const Turn turn(Function::hvqGetCurrentIdentifier, nullptr);
}
void hvqGetInputLayerNumber() {
    const Turn turn(Function::hvqGetInputLayerNumber, nullptr);
}
void hvqGetInputLayerLength() {
    const Turn turn(Function::hvqGetInputLayerLength, nullptr);
}
void hvqGetInputLayer() {
    const Turn turn(Function::hvqGetInputLayer, nullptr);
}
void hvqGetOutputLayerNumber() {
    const Turn turn(Function::hvqGetOutputLayerNumber, nullptr);
}
void hvqGetOutputLayerLength() {
    const Turn turn(Function::hvqGetOutputLayerLength, nullptr);
}
void hvqGetOutputLayer() {
    const Turn turn(Function::hvqGetOutputLayer, nullptr);
}
void hvqGetDeviceSupportPropertiesNumber() {
    const Turn turn(Function::hvqGetDeviceSupportPropertiesNumber, nullptr);
}
void hvqGetDeviceSupportPropertiesByIndex() {
    const Turn turn(Function::hvqGetDeviceSupportPropertiesByIndex, nullptr);
}
void hvqGetDevicePropertyTypeID() {
    const Turn turn(Function::hvqGetDevicePropertyTypeID, nullptr);
}
void hvqGetDevicePropertyTypeString() {
    const Turn turn(Function::hvqGetDevicePropertyTypeString, nullptr);
}
void hvqGetDevicePropertyTypeUnorderedMap_String_Float() {
    const Turn turn(Function::hvqGetDevicePropertyTypeUnorderedMap_String_Float, nullptr);
}
void hvqGetDevicePropertyTypeGeneral() {
    const Turn turn(Function::hvqGetDevicePropertyTypeGeneral, nullptr);
}
void hvqGetLayerPrecision() {
    const Turn turn(Function::hvqGetLayerPrecision, nullptr);
}
void hvqSetLogCallback() {
    const Turn turn(Function::hvqSetLogCallback, nullptr);
}

}  // extern "C"
