#include "velmo_run/engine_session.h"

#include <chrono>
#include <optional>

#include "velmo_run/interrupt.h"
#include "velmo_run/process_watcher.h"
#include "velmo_run/run_error.h"
#include "velmo_tool/path_text.h"

namespace velmo_run {
namespace {

constexpr std::chrono::milliseconds kLook{100};

// Nothing when the process ended, or goesOn says no.
std::optional<velmo_parent::InitAnswer> AwaitAnswer(velmo_parent::InferenceProcess& process,
                                                    const std::function<bool()>& goesOn) {
    for (;;) {
        if (auto answer = process.AwaitInit(kLook)) return answer;
        if (process.State() != velmo_parent::ProcessState::Running || !goesOn()) return std::nullopt;
    }
}

}  // namespace

velmo_parent::EngineRequest RequestOf(const RunOptions& options) {
    velmo_parent::EngineRequest request;
    request.device = options.device;
    request.quality = options.quality;
    request.family = options.family;
    request.modelPath = options.modelFolder;
    request.enginePath = options.engineFolder;
    request.gpuCachePath = options.cacheFolder;
    return request;
}

void BringUp(velmo_parent::InferenceProcess& process, const RunOptions& options, const RunJournal& journal,
             const std::function<bool()>& goesOn) {
    {
        const InterruptShield shield;
        if (const auto started = process.Start(); !started) throw RunError("no process: " + started.Why());
    }
    if (process.Init(RequestOf(options)) == velmo_parent::InitStatus::BadRequest) {
        (void)process.Stop();
        throw RunError("the name of a folder is too long for the process: it takes 1023 bytes");
    }
    const auto answer = AwaitAnswer(process, goesOn);
    if (answer && answer->status == 0) return;
    // All that the process has to say about it has been heard when it has ended.
    (void)process.Stop();
    if (!goesOn()) throw RunError("interrupted before the first frame");
    const auto end = journal.End();
    if (!answer && end && !end->wasAsked) throw RunError("no engine: " + TextOf(*end));
    std::string text = "no engine";
    if (const std::string why = journal.WhyNoEngine(); !why.empty()) text += ": " + why;
    if (answer && answer->status == 2) text += ": the model is for another size than --quality says";
    throw RunError(text + "\nvelmo: --engine-dir names the folder of hvq.dll (" + options.engineFolder +
                   "), --model-dir that of the models (" + velmo_tool::Utf8FromArgument(options.modelFolder) + ")");
}

}  // namespace velmo_run
