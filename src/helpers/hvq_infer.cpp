#include <cstddef>
#include <cstdint>
#include <cstring>
#include <exception>
#include <span>
#include <stdexcept>
#include <utility>

#include "helpers/hvq_helper.h"
#include "helpers/hvq_input.h"
#include "helpers/kernels/byte_floats.h"
#include "helpers/kernels/content_change.h"
#include "helpers/pixel_count.h"
#include "helpers/status.h"
#include "infra/log_line.h"
#include "infra/steady_clock.h"

// One frame's way through the helper.
namespace rvo_calyr {
namespace {

constexpr std::uint64_t kDetectionMode = 2;  // there is no other
// 1 GiB. A layer beyond it is none that a frame is meant for.
constexpr std::uint64_t kMostInputFloats = 1u << 28;

// Points the helper to the frame for as long as it is there.
class ScopedInput {
 public:
    ScopedInput(const RvoHvqInput*& member, const RvoHvqInput* input) : m_member(member) { m_member = input; }
    ~ScopedInput() { m_member = nullptr; }
    ScopedInput(const ScopedInput&) = delete;
    ScopedInput& operator=(const ScopedInput&) = delete;

 private:
    const RvoHvqInput*& m_member;
};

// Throws std::length_error for a layer that can't be.
std::uint64_t FloatsOf(const hvq::inference::Dims& dims) {
    std::uint64_t floats = 1;
    for (const std::uint64_t dim : dims) {
        if (dim != 0 && floats > kMostInputFloats / dim) throw std::length_error("input layer too large");
        floats *= dim;
    }
    return floats;
}

}  // namespace

std::uint32_t RvoHvqHelper::Infer(const RvoHvqInput* input, RvoHvqOutput* output) {
    if (input == nullptr || output == nullptr) {
        if (m_seams.limits.nullArguments.IsDue()) {
            LogLine("RvoHvqHelper::Infer(), input args invalid")
                .Value("input", static_cast<const void*>(input))
                .Value("output", static_cast<const void*>(output))
                .This(this)
                .Log(kErrorLevel);
        }
        return kStatusBadArguments;
    }
    if (!FitsModel(*input)) {
        if (m_seams.limits.invalidArguments.IsDue()) {
            LogLine("RvoHvqHelper::Infer(), invalid args, [width/height]=[")
                .Text(input->header.width)
                .Text("/")
                .Text(input->header.height)
                .Text("] [modelWidth/modelHeight]=[")
                .Text(m_modelWidth)
                .Text("/")
                .Text(m_modelHeight)
                .Text("]")
                .This(this)
                .Log(kErrorLevel);
        }
        return kStatusBadArguments;
    }
    const std::lock_guard lock(m_mutex);
    if (!m_initialized) {
        if (m_seams.limits.notInitialised.IsDue()) {
            LogLine("RvoHvqHelper::Infer(), has not init.").This(this).Log(kErrorLevel);
        }
        return kStatusNoEngine;
    }
    const ScopedInput scope(m_input, input);
    if (SwitchEngine()) StartTemporalStateOver();
    if (!m_engine) {
        if (m_seams.limits.noEngine.IsDue()) {
            LogLine("RvoHvqHelper::Infer(), hvq engine has not init.").This(this).Log(kErrorLevel);
        }
        return kStatusNoEngine;
    }
    try {
        RunRound(*output);
        return kStatusSuccess;
    } catch (const std::exception& error) {
        // The state stays as it was at the throw: the next frame simply tries again.
        if (m_seams.limits.failure.IsDue()) {
            LogLine("RvoHvqHelper::Infer(), failed, error=").Text(error.what()).This(this).Log(kErrorLevel);
        }
        return kStatusInferenceFailed;
    }
}

bool RvoHvqHelper::FitsModel(const RvoHvqInput& input) const {
    // Products only, on purpose: a frame that stands on its side passes.
    if (input.dataSize == 0 || input.data == nullptr || PixelCount(input.header) != ModelArea()) return false;
    // More than the buffers hold is never read. Without a model there is no size yet, and another answer.
    const std::uint64_t most = kFramePlanes * ModelArea();
    return most == 0 || (input.dataSize <= most && input.dataSize <= calyr_ipc::kFrameCapacity);
}

void RvoHvqHelper::StartTemporalStateOver() {
    m_needInfer = 1;
    m_edgePixelCount = 0;
    m_referenceMaskSum = 0;
    m_inferCount = 0;
    m_firstFrame = true;
    // m_skipCount and the arrays are carried over: the new engine's first input has the old one's mask as its fourth
    // plane, and a first frame without the flag leaves it there.
}

void RvoHvqHelper::RunRound(RvoHvqOutput& output) {
    const std::int64_t roundNs = infra::NowNs(m_seams.clock);
    // Without the flag the last decision stands, on purpose: also one to skip.
    if (m_input->temporalEnabled != 0 && !m_firstFrame) DecideWhetherToInfer();
    if (m_needInfer == 1) (void)SetInput();
    m_runtimeMetrics.RecordPreprocess(infra::ElapsedMs(roundNs, m_seams.clock));

    if (m_needInfer == 1) {
        RunNetwork();
    } else {
        m_runtimeMetrics.AddSkip();
    }

    const std::int64_t outputNs = infra::NowNs(m_seams.clock);
    // Also when skipped; what they found is in the output's own status.
    (void)SetMask(output);
    (void)SetGesture(output);
    (void)SetMotion(output);
    (void)SetLandmarks(output);
    (void)SetLut(output);
    m_runtimeMetrics.RecordPostprocess(infra::ElapsedMs(outputNs, m_seams.clock));
    if (const std::string summary = m_runtimeMetrics.FinishRound(); !summary.empty()) {
        LogLine("RvoHvqHelper::Infer(), ").Text(summary).This(this).Log(kInfoLevel);
    }
}

void RvoHvqHelper::DecideWhetherToInfer() {
    std::int32_t permille = 0;
    m_needInfer = DetectContentChange(static_cast<std::int32_t>(ModelArea()), m_input->data, m_referenceFrame.get(),
                                      m_edgeMap.get(), m_edgePixelCount, m_skipCount, kDetectionMode, &permille);
    // Counted as 0 when nothing was measured.
    const std::string summary = m_contentChangeMetric.Add("content_change_permille", permille);
    if (!summary.empty()) LogLine("RvoHvqHelper::Infer(), ").Text(summary).This(this).Log(kInfoLevel);
}

void RvoHvqHelper::RunNetwork() {
    const std::int64_t inferNs = infra::NowNs(m_seams.clock);
    m_engine->Infer();  // asks for the library's exception, too, under the same lock
    if (m_seams.limits.firstInference.IsDue()) LogLine("RvoHvqHelper::Infer() TF").This(this).Log(kInfoLevel);
    m_runtimeMetrics.RecordInfer(infra::ElapsedMs(inferNs, m_seams.clock));
}

std::uint32_t RvoHvqHelper::SetInput() {
    FillInputLayer();
    return kStatusSuccess;
}

void RvoHvqHelper::FillInputLayer() {
    const std::size_t frameBytes = m_input->dataSize;
    const std::span<float> floats(m_inputBuffer.get(), m_inputBufferFloats);
    WidenBytes({m_input->data, frameBytes}, floats);
    WidenBytes({m_previousMask.get(), ModelArea()}, floats.subspan(frameBytes));
    const hvq::inference::Dims dims = m_engine->GetLayerDims(m_inputLayerName);
    EnlargeInputBuffer(FloatsOf(dims));
    m_engine->SetLayerData(m_inputLayerName, m_inputBuffer.get(), dims);
}

// An engine that was swapped in may want more than the arrays were made for. It reads what is there and zeros.
void RvoHvqHelper::EnlargeInputBuffer(std::uint64_t floats) {
    if (floats <= m_inputBufferFloats) return;
    auto larger = std::make_unique<float[]>(static_cast<std::size_t>(floats));
    std::memcpy(larger.get(), m_inputBuffer.get(), m_inputBufferFloats * sizeof(float));
    m_inputBuffer = std::move(larger);
    m_inputBufferFloats = static_cast<std::size_t>(floats);
}

}  // namespace rvo_calyr
