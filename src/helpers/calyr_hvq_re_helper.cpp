#include "helpers/calyr_hvq_re_helper.h"

#include <cstddef>
#include <cstring>

#include "helpers/calyr_output.h"
#include "helpers/layer_names.h"
#include "helpers/status.h"
#include "infra/log_line.h"

namespace rvo_calyr {
namespace {

constexpr char kPluginId[] = "calyr_re_hvq_plugin";
// By model quality. They are networks, whatever their names end in.
constexpr const char* kModelFiles[] = {"calyr_re_144p_input.dll", "calyr_re_360p_input.dll"};

using hvq::inference::Dims;

constexpr std::size_t kLutDims = 5;
constexpr std::size_t kLutVerticesDims = 3;
constexpr std::uint64_t kAxes = 3;
constexpr std::uint64_t kColours = 33;  // per axis

}  // namespace

RvoCalyrHvqReHelper::RvoCalyrHvqReHelper(const HelperSeams& seams) : RvoHvqHelper(kPluginId, seams) {}

void RvoCalyrHvqReHelper::SelectModelFile(const _CalyrPortraitOption& option) {
    m_modelName = kModelFiles[option.modelQuality];
}

std::uint32_t RvoCalyrHvqReHelper::SetLut(RvoHvqOutput& output) {
    const void* const lut = Engine().GetLayerData(kLutLayer);
    if (lut == nullptr) {
        if (Seams().limits.noLut.IsDue()) {
            // It names the other operation, and whoever looks for it knows it by that.
            LogLine("RvoHvqHelper::SetMask(), lutName lut not exists").This(this).Log(kErrorLevel);
        }
        return Refuse(output);
    }
    const void* const vertices = Engine().GetLayerData(kLutVerticesLayer);
    const Dims dims = Engine().GetLayerDims(kLutLayer);
    const Dims verticesDims = Engine().GetLayerDims(kLutVerticesLayer);
    if (dims.size() != kLutDims || verticesDims.size() != kLutVerticesDims) {
        if (Seams().limits.otherLutDims.IsDue()) {
            LogLine("RvoCalyrHvqReHelper::SetLut()")
                .Value("dimsSize", dims.size())
                .Value("verticesSize", verticesDims.size())
                .This(this)
                .Log(kErrorLevel);
        }
        return Refuse(output);
    }
    if (dims[1] != verticesDims.size() || dims[2] != kColours || dims[3] != kColours || dims[4] != kColours) {
        if (Seams().limits.otherLutSize.IsDue()) {
            LogLine("RvoCalyrHvqReHelper::SetLut(), lut size does not match dims[1]=")
                .Text(dims[1])
                .Text(" dims[2]=")
                .Text(dims[2])
                .Text(" dims[3]=")
                .Text(dims[3])
                .Text("dims[4]=d")  // as it has always been
                .Text(dims[4])
                .This(this)
                .Log(kErrorLevel);
        }
        return Refuse(output);
    }
    if (verticesDims[1] != kAxes || verticesDims[2] != kColours) {
        if (Seams().limits.otherLutVerticesSize.IsDue()) {
            LogLine("RvoCalyrHvqReHelper::SetLut(), lut vertices size does not match dims[1]/dims[2]=[")
                .Text(verticesDims[1])
                .Text("/")
                .Text(verticesDims[2])
                .Text("]")
                .This(this)
                .Log(kErrorLevel);
        }
        return Refuse(output);
    }
    if (vertices == nullptr) return Refuse(output);  // no line tells of a grid without data
    if (auto* const full = dynamic_cast<RvoCalyrOutput*>(&output)) {
        std::memcpy(full->lut->data(), lut, sizeof(*full->lut));
        std::memcpy(full->lutVertices->data(), vertices, sizeof(*full->lutVertices));
    }
    return kStatusSuccess;
}

}  // namespace rvo_calyr
