#include "app/entry.h"

#include "app/trim.h"
#include "host/rvo_calyr_ml_host.h"
#include "infra/exit_list.h"
#include "infra/log_line.h"
#include "platform/string_resources.h"

namespace app {
namespace {

// Kept for the whole process, as programs with a window do; only the loading of the strings reads them.
void* g_instance = nullptr;
StartStrings g_startStrings;

void LogAttachFailure(const std::string& cmdLine, const std::string& ipcId) {
    rvo_calyr::LogLine("calyrhost init ipc fail")
        .Value("cmdLine", cmdLine)
        .Value("ipcId", ipcId)
        .Log(rvo_calyr::kErrorLevel);
}

}  // namespace

void LoadStartStrings(void* instance, platform::StringResources& resources, StartStrings& strings) {
    (void)resources.Load(instance, 103, strings.first, StartStrings::kCapacity);
    (void)resources.Load(instance, 109, strings.second, StartStrings::kCapacity);
}

void StoreInstance(void* instance) {
    g_instance = instance;
}

int RunHost(const std::string& cmdLine, rvo_calyr::RvoCalyrMlHost& host) {
    const std::string ipcId = Trim(cmdLine);
    if (const int exitCode = host.Attach(ipcId); exitCode != 0) {
        LogAttachFailure(cmdLine, ipcId);  // goes nowhere while there is no log channel: the sink drops it
        return exitCode;
    }
    (void)host.Start();
    (void)host.Stop();
    return host.ExitCode();
}

int RunProcess(const std::string& cmdLine) {
    LoadStartStrings(g_instance, platform::SystemStringResources(), g_startStrings);
    const int exitCode = RunHost(cmdLine, rvo_calyr::RvoCalyrMlHost::GetInstance());
    infra::RunExitList();  // helpers first: one may wait for its job and then destroys its engine, whose library stands
    return exitCode;
}

}  // namespace app
