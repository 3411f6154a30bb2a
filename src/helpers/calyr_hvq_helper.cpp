#include "helpers/calyr_hvq_helper.h"

namespace rvo_calyr {
namespace {

constexpr char kPluginId[] = "calyr_hvq_plugin";
// By model quality. They are networks, whatever their names end in.
constexpr const char* kModelFiles[] = {"calyr_144p_input.dll", "calyr_360p_input.dll"};

}  // namespace

RvoCalyrHvqHelper::RvoCalyrHvqHelper(const HelperSeams& seams) : RvoHvqHelper(kPluginId, seams) {}

void RvoCalyrHvqHelper::SelectModelFile(const _CalyrPortraitOption& option) {
    m_modelName = kModelFiles[option.modelQuality];
}

}  // namespace rvo_calyr
