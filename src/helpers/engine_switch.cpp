#include <chrono>
#include <utility>

#include "helpers/engine_bring_up.h"
#include "helpers/hvq_helper.h"
#include "helpers/option_changed.h"
#include "infra/log_line.h"

// How a running engine is exchanged. Three options are kept in step: what was asked for last, what the last job was
// given, and what the engine in use was made from. Requests only overwrite the first, so the newest wins, and any
// number of them during one job collapse into one job more.
namespace rvo_calyr {
namespace {

using hvq::inference::PluginEngine;

void AddOption(LogLine& line, const _CalyrPortraitOption& option) {
    line.Value("deviceType", option.deviceType)
        .Value("modelQuality", option.modelQuality)
        .Value("modelType", option.modelType);
}

// "<message> [from], <three keys> [to], <three keys>"
void LogChange(const char* message, const _CalyrPortraitOption& from, const _CalyrPortraitOption& to,
               const void* helper) {
    LogLine line(message);
    AddOption(line, from);
    line.Text(" [to]");
    AddOption(line, to);
    line.This(helper).Log(kInfoLevel);
}

}  // namespace

bool RvoHvqHelper::SwitchEngine() {
    ClaimFinishedJob();                                          // never waits: a frame must not pay for a bring-up
    if (!OptionChanged(m_option, m_activeOption)) return false;  // what is wanted is running
    if (m_initFuture.valid()) return false;                      // one job at a time
    if (OptionChanged(m_option, m_dispatchedOption)) {
        DispatchInitJob();
        LogChange("RvoHvqHelper::SwitchEngine(), dispatch init job [from]", m_activeOption, m_option, this);
        return false;
    }
    return InstallPendingEngine();
}

void RvoHvqHelper::ClaimFinishedJob() {
    if (!m_initFuture.valid()) return;
    if (m_initFuture.wait_for(std::chrono::seconds(0)) != std::future_status::ready) return;
    m_pendingEngine = m_initFuture.get();  // also when it is null; leaves the future empty
}

void RvoHvqHelper::DispatchInitJob() {
    // The job works on copies alone: Init may write the members while it runs.
    auto job = std::make_shared<std::packaged_task<std::unique_ptr<PluginEngine>()>>(
        [request = BringUpRequest{m_option, m_modelName, m_pluginId, m_engineName, this}, seams = m_seams] {
            return BringUpEngine(request, seams);
        });
    auto future = job->get_future();
    m_jobs.Run([job = std::move(job)] { (*job)(); });
    // Only now: where no memory is left for a job, none was dispatched.
    m_initFuture = std::move(future);
    m_dispatchedOption = m_option;
}

bool RvoHvqHelper::InstallPendingEngine() {
    if (!m_pendingEngine) return false;  // that job failed, and isn't tried again
    m_engine = std::move(m_pendingEngine);
    LogChange("RvoHvqHelper::SwitchEngine(), [from]", m_activeOption, m_option, this);
    m_activeOption = m_dispatchedOption;
    return true;
}

}  // namespace rvo_calyr
