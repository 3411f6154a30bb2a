// Layers and inference.
#include <algorithm>

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

}  // namespace

void hvqSetLayerData(HvqEngine engine, const char* layer_name, const void* data, const uint64_t* dims,
                     uint64_t dims_count) {
    Do(engine, __func__, [&](Engine& e) {
        const std::string_view name = Text(layer_name, "layer_name");
        if (dims_count != 0) (void)Needed(dims, "dims");
        e.Current().network->SetInput(name, data, {dims, static_cast<std::size_t>(dims_count)});
    });
}

const void* hvqGetLayerData(HvqEngine engine, const char* layer_name) {
    const void* const none = nullptr;
    return Call(engine, __func__, none, [&](Engine& e) {
        const std::string_view name = Text(layer_name, "layer_name");
        return e.Current().network->Data(name);
    });
}

int32_t hvqGetInputLayerNumber(HvqEngine engine) {
    return Call(engine, __func__, int32_t{0}, [](Engine& e) { return Count(e.Current().network->Inputs().size()); });
}

int32_t hvqGetInputLayerLength(HvqEngine engine, int32_t index) {
    return Call(engine, __func__, int32_t{0}, [&](Engine& e) {
        const auto layers = e.Current().network->Inputs();
        return Count(At(layers, index, "input layers").name.size());
    });
}

void hvqGetInputLayer(HvqEngine engine, int32_t index, char* buffer) {
    Do(engine, __func__, [&](Engine& e) {
        const auto layers = e.Current().network->Inputs();
        CopyOut(At(layers, index, "input layers").name, buffer);
    });
}

int32_t hvqGetOutputLayerNumber(HvqEngine engine) {
    return Call(engine, __func__, int32_t{0}, [](Engine& e) { return Count(e.Current().network->Outputs().size()); });
}

int32_t hvqGetOutputLayerLength(HvqEngine engine, int32_t index) {
    return Call(engine, __func__, int32_t{0}, [&](Engine& e) {
        const auto layers = e.Current().network->Outputs();
        return Count(At(layers, index, "output layers").name.size());
    });
}

void hvqGetOutputLayer(HvqEngine engine, int32_t index, char* buffer) {
    Do(engine, __func__, [&](Engine& e) {
        const auto layers = e.Current().network->Outputs();
        CopyOut(At(layers, index, "output layers").name, buffer);
    });
}

void hvqGetLayerDims(HvqEngine engine, const char* layer_name, uint64_t* dims, uint64_t* count) {
    Do(engine, __func__, [&](Engine& e) {
        const std::string_view name = Text(layer_name, "layer_name");
        (void)Needed(count, "count");
        const std::vector<std::uint64_t>& known = e.Current().network->FindLayer(name).dims;
        if (dims != nullptr) {
            if (*count < known.size()) {
                throw std::runtime_error("layer " + std::string(name) + " has " + std::to_string(known.size()) +
                                         " dimensions, and there is room for " + std::to_string(*count));
            }
            std::copy(known.begin(), known.end(), dims);
        }
        *count = known.size();
    });
}

void hvqGetLayerPrecision(HvqEngine engine, const char* layer_name, uint64_t* length, char* buffer) {
    Do(engine, __func__, [&](Engine& e) {
        const std::string_view name = Text(layer_name, "layer_name");
        CopyOut(e.Current().network->FindLayer(name).precision, length, buffer);
    });
}

void hvqInfer(HvqEngine engine) {
    Do(engine, __func__, [](Engine& e) { e.Current().network->Infer(); });
}
