#include "helpers/hvq_helper.h"

#include <limits>
#include <utility>

#include "helpers/engine_bring_up.h"
#include "helpers/hvq_input.h"
#include "helpers/layer_names.h"
#include "helpers/model_tables.h"
#include "helpers/option_changed.h"
#include "helpers/status.h"
#include "infra/log_line.h"
#include "infra/profile_log_rounds.h"

// The helper's life: construction, Init, and how an engine comes to it.
namespace rvo_calyr {
namespace {

constexpr std::int64_t kReportRounds = 100;
constexpr std::size_t kHeightDimension = 2;  // of batch, channels, height, width
constexpr std::size_t kWidthDimension = 3;
constexpr std::size_t kInputPlanes = 4;  // the frame's, and the previous mask

// Above this a side can't be a picture's, and no product below overflows.
constexpr std::uint64_t kLongestSide = std::numeric_limits<std::int32_t>::max();

}  // namespace

RvoHvqHelper::RvoHvqHelper(const char* pluginId, const HelperSeams& seams)
    : m_seams(seams),
      m_runtimeMetrics(infra::ProfileLogRounds(kReportRounds)),
      m_contentChangeMetric(infra::ProfileLogRounds(kReportRounds)),
      m_inputLayerName(kInputLayer),
      m_pluginId(pluginId),
      m_jobs(seams.threads) {}

RvoHvqHelper::~RvoHvqHelper() = default;

std::uint32_t RvoHvqHelper::Init(const _CalyrPortraitOption& option) {
    const std::lock_guard lock(m_mutex);
    // The tables have no row for these, and nothing is remembered of such an option.
    if (!NamesADevice(option.deviceType) || !NamesAQuality(option.modelQuality)) {
        LogLine("RvoHvqHelper::Init() fail, option out of range")
            .Value("deviceType", option.deviceType)
            .Value("modelQuality", option.modelQuality)
            .This(this)
            .Log(kErrorLevel);
        return kStatusBadArguments;
    }
    if (m_initialized && !OptionChanged(option, m_option)) {
        LogLine("RvoHvqHelper::Init(), has init already.").This(this).Log(kInfoLevel);
        return kStatusSuccess;
    }
    SelectModelFile(option);
    m_option = option;
    if (!m_engine) {
        // The first one, here and now: the geometry below is the new engine's.
        m_activeOption = option;
        m_engine = InitHvq(m_activeOption);
    } else if (m_initFuture.valid()) {
        // Not lost, whatever the line says: SwitchEngine finds the request in m_option once the job is claimed.
        LogLine("RvoHvqHelper::Init(), InitHvq future is still running, ignore this init")
            .Value("deviceType", option.deviceType)
            .Value("modelQuality", option.modelQuality)
            .Value("modelType", option.modelType)
            .This(this)
            .Log(kInfoLevel);
    } else {
        DispatchInitJob();
    }
    if (!m_engine) {
        LogLine("RvoHvqHelper::Init() fail, create hvq engine fail").This(this).Log(kErrorLevel);
        return kStatusNoEngine;
    }
    // With a job under way this is the old engine, which is meant: what is answered here is whether frames go on.
    return CheckGeometry(option);
}

std::uint32_t RvoHvqHelper::CheckGeometry(const _CalyrPortraitOption& option) {
    const hvq::inference::Dims dims = m_engine->GetLayerDims(m_inputLayerName);
    if (dims.size() <= kWidthDimension) {
        LogLine("RvoHvqHelper::Init()").Value("input_dims", dims.size()).This(this).Log(kErrorLevel);
        return kStatusBadArguments;
    }
    const std::uint64_t width = dims[kWidthDimension];
    const std::uint64_t height = dims[kHeightDimension];
    const auto quality = static_cast<std::size_t>(option.modelQuality);
    const auto wanted =
        static_cast<std::uint64_t>(kModelWidths[quality]) * static_cast<std::uint64_t>(kModelHeights[quality]);
    // Products only, on purpose: a model that stands on its side passes.
    if (width > kLongestSide || height > kLongestSide || width * height != wanted) {
        LogLine("RvoHvqHelper::Init(), [modelWidth/modelHeight]=[")
            .Text(width)
            .Text("/")
            .Text(height)
            .Text("] not match modelQuality=")
            .Text(option.modelQuality)
            .This(this)
            .Log(kErrorLevel);
        return kStatusBadArguments;
    }
    MakeArrays(static_cast<std::size_t>(wanted));
    m_modelWidth = static_cast<std::int32_t>(width);
    m_modelHeight = static_cast<std::int32_t>(height);
    m_initialized = true;
    return kStatusSuccess;
}

// All or none, so that no memory runs out between arrays of two sizes.
void RvoHvqHelper::MakeArrays(std::size_t area) {
    if (m_previousMask && m_inputBuffer && ModelArea() == area) return;
    auto previousMask = std::make_unique<std::uint8_t[]>(area);
    auto referenceFrame = std::make_unique<std::uint8_t[]>(kFramePlanes * area);
    auto edgeMap = std::make_unique<std::uint8_t[]>(area);
    auto inputBuffer = std::make_unique<float[]>(kInputPlanes * area);
    m_previousMask = std::move(previousMask);
    m_referenceFrame = std::move(referenceFrame);
    m_edgeMap = std::move(edgeMap);
    m_inputBuffer = std::move(inputBuffer);
    m_inputBufferFloats = kInputPlanes * area;
}

std::unique_ptr<hvq::inference::PluginEngine> RvoHvqHelper::InitHvq(const _CalyrPortraitOption& option) {
    return BringUpEngine({option, m_modelName, m_pluginId, m_engineName, this}, m_seams);
}

}  // namespace rvo_calyr
