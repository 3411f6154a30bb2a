#include "helpers/inhouse_hvq_helper.h"

#include "helpers/status.h"

namespace rvo_calyr {
namespace {

constexpr char kPluginId[] = "inhouse_hvq_plugin";
// By model quality. They are networks, whatever their names end in.
constexpr const char* kModelFiles[] = {"inhouse_144p_input.dll", "inhouse_360p_input.dll"};

}  // namespace

RvoInhouseHvqHelper::RvoInhouseHvqHelper(const HelperSeams& seams) : RvoHvqHelper(kPluginId, seams) {}

void RvoInhouseHvqHelper::SelectModelFile(const _CalyrPortraitOption& option) {
    m_modelName = kModelFiles[option.modelQuality];
}

// The family has an operation of its own, which so far does the same.
std::uint32_t RvoInhouseHvqHelper::SetInput() {
    FillInputLayer();
    return kStatusSuccess;
}

std::uint32_t RvoInhouseHvqHelper::SetLandmarks(RvoHvqOutput& /*output*/) {
    return kStatusNotSupported;
}

std::uint32_t RvoInhouseHvqHelper::SetMotion(RvoHvqOutput& /*output*/) {
    return kStatusNotSupported;
}

std::uint32_t RvoInhouseHvqHelper::SetGesture(RvoHvqOutput& /*output*/) {
    return kStatusNotSupported;
}

}  // namespace rvo_calyr
