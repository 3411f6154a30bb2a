#pragma once

#include <string>

namespace platform {
class StringResources;
}

namespace rvo_calyr {
class RvoCalyrMlHost;
}

namespace app {

// The two string resources that the start asks for. The executable carries no string table, so both stay empty.
struct StartStrings {
    static constexpr int kCapacity = 100;
    wchar_t first[kCapacity] = {};
    wchar_t second[kCapacity] = {};
};

// Loads strings 103 and 109 of `instance`; what is missing stays empty.
void LoadStartStrings(void* instance, platform::StringResources& resources, StartStrings& strings);

// Keeps the program's instance handle (null where the platform has none) for RunProcess.
void StoreInstance(void* instance);

// The whole process behind the platform's entry point, from the narrow command line to the exit code: 0 after a
// Terminate command, 3 when a channel can't be opened, -1 when the heartbeat watchdog gave up.
// Thread: the entry thread, once. What it throws ends the process (see InstallTerminateHandler).
int RunProcess(const std::string& cmdLine);

// The part of it that begins with the host: attaches it to the id in `cmdLine`, lets it run and stop.
int RunHost(const std::string& cmdLine, rvo_calyr::RvoCalyrMlHost& host);

}  // namespace app
