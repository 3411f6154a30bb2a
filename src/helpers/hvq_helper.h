#pragma once

#include <cstddef>
#include <cstdint>
#include <future>
#include <memory>
#include <mutex>
#include <string>

#include "engine/plugin_engine.h"
#include "helpers/calyr_helper.h"
#include "helpers/helper_seams.h"
#include "helpers/job_thread.h"
#include "helpers/portrait_option.h"
#include "infra/runtime_metrics.h"
#include "infra/value_metric.h"

namespace rvo_calyr {

// What all families of models share: brings up an engine, decides for each frame whether it needs the network, turns
// the network's outputs into the frame's results, and swaps engines between two frames. A family says which model files
// it has and which outputs it gives.
//
// Threads: the entry thread calls Init, the frame reader Infer; the host's lock keeps the two apart. A job on a thread
// of the helper's own makes every engine but the first; it holds no lock of the helper's and touches nothing of it.
// Locks: m_mutex for all of Init, and for all of Infer but its argument checks; the engine's own lock inside it.
class RvoHvqHelper : public IRvoCalyrHelper {
 public:
    // `pluginId` is the prefix of the family's identifiers. Throws std::system_error when the job thread can't start.
    explicit RvoHvqHelper(const char* pluginId, const HelperSeams& seams = {});

    // Waits for a job that has not ended, and destroys its engine and all others.
    ~RvoHvqHelper() override;
    RvoHvqHelper(const RvoHvqHelper&) = delete;
    RvoHvqHelper& operator=(const RvoHvqHelper&) = delete;

    // The first engine is made here and now; later ones by a job, one at a time, and SwitchEngine installs what it
    // made. Returns kStatusSuccess when an engine is there whose input fits the option's model quality, or when there
    // is nothing to do; kStatusBadArguments for an option whose numbers name nothing, and when the input does not fit;
    // kStatusNoEngine. Throws what the engine says to being asked for its input's shape,
    // std::filesystem::filesystem_error, and std::bad_alloc.
    std::uint32_t Init(const _CalyrPortraitOption& option) override;

    // Returns kStatusSuccess for a round, whose outcome is in the output's own status; kStatusBadArguments for null,
    // and for a frame that does not fit the model; kStatusNoEngine; kStatusInferenceFailed when the engine threw.
    // Statuses kStatusBadArguments and kStatusNoEngine leave the output alone. Throws what a job threw that no bring-up
    // catches, and std::bad_alloc when there is no memory for a job.
    std::uint32_t Infer(const RvoHvqInput* input, RvoHvqOutput* output) override;

    void Reserved() override {}

    // Sets m_modelName to the family's file for the option's model quality, which names one.
    virtual void SelectModelFile(const _CalyrPortraitOption& option) = 0;

    // SetInput and the operations behind it are steps of Infer and for nobody else: they work on its frame and its
    // engine, with m_mutex held.

    // Fills the input layer with m_input and the previous mask. Returns kStatusSuccess.
    virtual std::uint32_t SetInput();

    // Move one output layer each into `output`. Return kStatusSuccess; kStatusBadArguments, which is then the output's
    // status too, for a layer that is missing or of another shape, and for an output of another size than the model's;
    // kStatusNotSupported when the family does not have it. What `output` has no member for is checked and left out.
    // Throw what the engine throws.
    // Thread: the frame reader. Lock: m_mutex held.
    virtual std::uint32_t SetMask(RvoHvqOutput& output);
    virtual std::uint32_t SetLandmarks(RvoHvqOutput& output);
    virtual std::uint32_t SetMotion(RvoHvqOutput& output);
    virtual std::uint32_t SetGesture(RvoHvqOutput& output);
    virtual std::uint32_t SetLut(RvoHvqOutput& output);

    // All five in the order of a round. Returns kStatusSuccess whatever they did. Not called by Infer, which has a
    // round written out. Lock: m_mutex held.
    std::uint32_t SetOutput(RvoHvqOutput& output);

 protected:
    hvq::inference::PluginEngine& Engine() { return *m_engine; }
    const HelperSeams& Seams() const { return m_seams; }

    // Fills the input layer: what SetInput does, here and in the family that has its own.
    void FillInputLayer();

    // Gives the output the status of a layer that does not fit, and returns it.
    static std::uint32_t Refuse(RvoHvqOutput& output);

 private:
    // Whether the input of the engine in use fits the option's model quality. The helper then works at its size.
    std::uint32_t CheckGeometry(const _CalyrPortraitOption& option);

    // Makes the four arrays for a model of `area` pixels, unless they stand. Throws std::bad_alloc, with nothing
    // changed.
    void MakeArrays(std::size_t area);

    // Makes an engine by `option`; null on failure. Throws std::filesystem::filesystem_error when nobody can tell
    // whether the model is there. Lock: m_mutex held, as it reads m_modelName.
    std::unique_ptr<hvq::inference::PluginEngine> InitHvq(const _CalyrPortraitOption& option);

    // Starts a job that makes an engine by m_option. Lock: m_mutex held.
    void DispatchInitJob();

    // Between two frames: takes over an engine that is ready. True when m_engine was replaced. Lock: m_mutex held.
    bool SwitchEngine();
    void ClaimFinishedJob();
    bool InstallPendingEngine();

    // Whether the frame is one that the model takes. Lock: none of the helper's.
    bool FitsModel(const RvoHvqInput& input) const;

    // One frame, from the decision to the last output. Throws what the engine throws. Lock: m_mutex held.
    void RunRound(RvoHvqOutput& output);
    void StartTemporalStateOver();
    void DecideWhetherToInfer();
    void RunNetwork();
    void EnlargeInputBuffer(std::uint64_t floats);

    // The mask's floats when they are of the frame's size; null, and the output refused, when not.
    const float* MaskLayer(RvoHvqOutput& output);
    std::uint32_t RefuseMaskLength(RvoHvqOutput& output, std::uint64_t length);

    // Gives a skipped frame the mask of the last inference.
    std::uint32_t RepeatMask(RvoHvqOutput& output);

    // Keeps what the next frames are compared with and the network is given next. Lock: m_mutex held.
    void KeepTemporalState(const RvoHvqOutput& output, std::int32_t sum);

    std::size_t ModelArea() const {
        return static_cast<std::size_t>(m_modelWidth) * static_cast<std::size_t>(m_modelHeight);
    }

    const HelperSeams m_seams;  // first, as all that follows works on it

    bool m_initialized = false;              // an Init has ended with matching geometry once
    std::int32_t m_needInfer = 1;            // 1: this frame is inferred; 0: the previous mask is used again
    std::int32_t m_edgePixelCount = 0;       // pixels set in m_edgeMap
    std::int32_t m_skipCount = 0;            // frames skipped since the last inference
    std::int32_t m_referenceMaskSum = 0;     // of the mask's bytes when the reference was taken
    std::int32_t m_inferCount = 0;           // rounds with a good mask since start or the last swap
    bool m_firstFrame = true;                // there is no mask of this engine yet
    infra::RuntimeMetrics m_runtimeMetrics;  // time per round
    infra::ValueMetric m_contentChangeMetric;
    std::recursive_mutex m_mutex;  // guards everything here
    // The engine's input in pixels. Written with the host's lock held, so Infer may read them before it locks.
    std::int32_t m_modelWidth = 0;
    std::int32_t m_modelHeight = 0;
    const std::string m_engineName = "OpenVINO";  // the engine asked of the library
    const std::string m_inputLayerName;
    const std::string m_pluginId;
    const RvoHvqInput* m_input = nullptr;  // the frame of this round, valid during Infer only

    // Made by Init for one model area, zero at first.
    std::unique_ptr<std::uint8_t[]> m_referenceFrame;  // 3 × area: the frame at the last refresh
    std::unique_ptr<std::uint8_t[]> m_edgeMap;         // area: 1 in the band along the mask's outline
    std::unique_ptr<std::uint8_t[]> m_previousMask;    // area: the mask of the last inference with the flag
    std::unique_ptr<float[]> m_inputBuffer;            // the input layer's data: 4 × area, or more for a larger layer
    std::size_t m_inputBufferFloats = 0;

    _CalyrPortraitOption m_option;                                            // what was asked for last
    _CalyrPortraitOption m_activeOption;                                      // what m_engine was made from
    _CalyrPortraitOption m_dispatchedOption;                                  // what the last job was given
    std::unique_ptr<hvq::inference::PluginEngine> m_engine;                   // the one in use
    std::unique_ptr<hvq::inference::PluginEngine> m_pendingEngine;            // one that waits for its swap
    std::future<std::unique_ptr<hvq::inference::PluginEngine>> m_initFuture;  // a job that runs, or was not claimed

 protected:
    std::string m_modelName;  // file name of the model, set by SelectModelFile

 private:
    JobThread m_jobs;  // last, so that it ends before what a job's result goes to
};

}  // namespace rvo_calyr
