#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

#include "helpers/calyr_output.h"
#include "helpers/hvq_helper.h"
#include "helpers/hvq_input.h"
#include "helpers/kernels/byte_floats.h"
#include "helpers/kernels/edge_map.h"
#include "helpers/layer_names.h"
#include "helpers/layer_shape.h"
#include "helpers/pixel_count.h"
#include "helpers/status.h"
#include "infra/log_line.h"
#include "infra/steady_clock.h"

// What a round's output layers become.
namespace rvo_calyr {
namespace {

using hvq::inference::Dims;

constexpr std::size_t kLandmarksDims = 5;
constexpr std::int32_t kRefreshInterval = 10;  // inferences
constexpr double kAreaJump = 0.2;              // of the mask's sum, either way

}  // namespace

std::uint32_t RvoHvqHelper::SetOutput(RvoHvqOutput& output) {
    (void)SetMask(output);
    (void)SetGesture(output);
    (void)SetMotion(output);
    (void)SetLandmarks(output);
    (void)SetLut(output);
    return kStatusSuccess;
}

std::uint32_t RvoHvqHelper::Refuse(RvoHvqOutput& output) {
    output.status = static_cast<std::int32_t>(kStatusBadArguments);
    return kStatusBadArguments;
}

std::uint32_t RvoHvqHelper::SetMask(RvoHvqOutput& output) {
    if (m_needInfer == 0 && m_previousMask) return RepeatMask(output);

    const float* const layer = MaskLayer(output);
    if (layer == nullptr) return kStatusBadArguments;
    const std::size_t area = ModelArea();
    const std::span<std::uint8_t> mask = output.MaskBytes();
    output.header.stampMs = static_cast<std::uint64_t>(infra::NowMs(m_seams.clock));
    if (m_input->temporalEnabled != 0) {
        // Both masks from the layer's floats, in one pass over them.
        const std::uint64_t sum = ConvertMask({layer, area}, mask, {m_previousMask.get(), area});
        KeepTemporalState(output, static_cast<std::int32_t>(sum));  // fits: 255 for each of 230,400 pixels at most
    } else {
        ConvertMask({layer, area}, mask);  // the network goes on without a previous mask, as it is used to
    }
    ++m_inferCount;
    output.status = static_cast<std::int32_t>(kStatusSuccess);
    m_firstFrame = false;
    return kStatusSuccess;
}

std::uint32_t RvoHvqHelper::RepeatMask(RvoHvqOutput& output) {
    const std::size_t area = ModelArea();
    const std::span<std::uint8_t> mask = output.MaskBytes();
    if (mask.size() != area) return RefuseMaskLength(output, area);
    std::memcpy(mask.data(), m_previousMask.get(), area);
    output.status = static_cast<std::int32_t>(kStatusSuccess);
    return kStatusSuccess;
}

const float* RvoHvqHelper::MaskLayer(RvoHvqOutput& output) {
    const auto* const layer = static_cast<const float*>(m_engine->GetLayerData(kSegmentationLayer));
    if (layer == nullptr) {
        if (m_seams.limits.noMask.IsDue()) {
            LogLine("RvoHvqHelper::SetMask(), maskName segmentation not exists").This(this).Log(kErrorLevel);
        }
        Refuse(output);
        return nullptr;
    }
    const Dims dims = m_engine->GetLayerDims(kSegmentationLayer);
    const std::uint64_t height = DimOf(dims, 2);
    const std::uint64_t width = DimOf(dims, 3);
    const std::size_t area = ModelArea();
    if (ProductOf({height, width}) != area) {
        if (m_seams.limits.otherMaskSize.IsDue()) {
            LogLine("RvoHvqHelper::SetMask(), [outputWidth/outputHeight]=[")
                .Text(width)
                .Text("/")
                .Text(height)
                .Text("] not match [inputWidth/inputHeight]=[")
                .Text(m_modelWidth)
                .Text("/")
                .Text(m_modelHeight)
                .Text("]")
                .This(this)
                .Log(kErrorLevel);
        }
        Refuse(output);
        return nullptr;
    }
    if (PixelCount(output.header) != area || output.MaskBytes().size() != area) {
        RefuseMaskLength(output, area);
        return nullptr;
    }
    return layer;
}

std::uint32_t RvoHvqHelper::RefuseMaskLength(RvoHvqOutput& output, std::uint64_t length) {
    if (m_seams.limits.otherMaskLength.IsDue()) {
        LogLine("RvoHvqHelper::SetMask(), mask length not match")
            .Value("outputMaskLength", PixelCount(output.header))
            .Value("maskLen", length)
            .This(this)
            .Log(kErrorLevel);
    }
    return Refuse(output);
}

void RvoHvqHelper::KeepTemporalState(const RvoHvqOutput& output, std::int32_t sum) {
    // Against the new sum, on purpose: a mask that shrinks is refreshed sooner than one that grows.
    const double ratio = (static_cast<double>(m_referenceMaskSum) + 1.0) / (static_cast<double>(sum) + 1.0);
    if (std::fabs(ratio - 1.0) <= kAreaJump && m_inferCount % kRefreshInterval != 0) return;
    std::memset(m_edgeMap.get(), 0, ModelArea());
    std::uint32_t edgePixels = 0;
    (void)BuildEdgeMap(m_modelWidth, m_modelHeight, output.mask.get(), edgePixels, m_edgeMap.get());
    m_edgePixelCount = static_cast<std::int32_t>(edgePixels);
    m_referenceMaskSum = sum;
    std::memcpy(m_referenceFrame.get(), m_input->data, m_input->dataSize);
}

std::uint32_t RvoHvqHelper::SetLandmarks(RvoHvqOutput& output) {
    const void* const layer = m_engine->GetLayerData(kLandmarksLayer);
    if (layer == nullptr) {
        if (m_seams.limits.noLandmarks.IsDue()) {
            LogLine("RvoHvqHelper::SetLandmarks(), landmarksName faces_and_landmarks not exists")
                .This(this)
                .Log(kErrorLevel);
        }
        return Refuse(output);
    }
    const Dims dims = m_engine->GetLayerDims(kLandmarksLayer);
    if (dims.size() != kLandmarksDims) {
        if (m_seams.limits.otherLandmarksDims.IsDue()) {
            LogLine("RvoHvqHelper::SetLandmarks(), shape size incorrect")
                .Value("shapeSize", dims.size())
                .This(this)
                .Log(kErrorLevel);
        }
        return Refuse(output);
    }
    // The product alone counts, whatever the single sizes are.
    if (ProductOf({dims[1], dims[2], dims[3], dims[4]}) != kLandmarksFloats) {
        if (m_seams.limits.otherLandmarksSize.IsDue()) {
            LogLine("RvoHvqHelper::SetLandmarks()")
                .Value("num_anchors", dims[1])
                .Value("num_rows", dims[2])
                .Value("num_columns", dims[3])
                .Value("landmarks_size", dims[4])
                .Text(" does not match")
                .This(this)
                .Log(kErrorLevel);
        }
        return Refuse(output);
    }
    if (auto* const full = dynamic_cast<RvoCalyrOutput*>(&output)) {
        std::memcpy(full->landmarks->data(), layer, sizeof(*full->landmarks));
    }
    return kStatusSuccess;
}

std::uint32_t RvoHvqHelper::SetMotion(RvoHvqOutput& output) {
    const void* const layer = m_engine->GetLayerData(kMotionLayer);
    if (layer == nullptr) {
        if (m_seams.limits.noMotion.IsDue()) {
            LogLine("RvoHvqHelper::SetMotion(), motionName motion not exists").This(this).Log(kErrorLevel);
        }
        return Refuse(output);
    }
    if (auto* const full = dynamic_cast<RvoCalyrOutput*>(&output)) {
        std::memcpy(&full->motion, layer, sizeof(full->motion));
    }
    return kStatusSuccess;
}

std::uint32_t RvoHvqHelper::SetGesture(RvoHvqOutput& output) {
    const void* const layer = m_engine->GetLayerData(kGestureLayer);
    if (layer == nullptr) {
        if (m_seams.limits.noGesture.IsDue()) {
            LogLine("RvoHvqHelper::SetGesture(), gestureName gesture not exists").This(this).Log(kErrorLevel);
        }
        return Refuse(output);
    }
    const std::uint64_t gestures = DimOf(m_engine->GetLayerDims(kGestureLayer), 1);
    if (gestures != kGestureFloats) {
        if (m_seams.limits.otherGestureSize.IsDue()) {
            // It names the other operation, and whoever looks for it knows it by that.
            LogLine("RvoHvqHelper::SetLandmarks(), gesture size=")
                .Text(gestures)
                .Text(" does not match")
                .This(this)
                .Log(kErrorLevel);
        }
        return Refuse(output);
    }
    if (auto* const full = dynamic_cast<RvoCalyrOutput*>(&output)) {
        std::memcpy(full->gesture->data(), layer, sizeof(*full->gesture));
    }
    return kStatusSuccess;
}

std::uint32_t RvoHvqHelper::SetLut(RvoHvqOutput& /*output*/) {
    return kStatusNotSupported;
}

}  // namespace rvo_calyr
