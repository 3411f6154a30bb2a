#pragma once

#include <memory>
#include <string>

#include "engine/plugin_engine.h"
#include "helpers/helper_seams.h"
#include "helpers/portrait_option.h"

namespace rvo_calyr {

// All that an engine is made from. A job holds one of its own, so nothing in it is shared.
struct BringUpRequest {
    _CalyrPortraitOption option;  // its deviceType names a device, see NamesADevice
    std::string modelName;        // file name of the model
    std::string pluginId;         // prefix of the identifiers of model and network
    std::string engineName;       // the engine to ask the library for
    const void* helper;           // for the log lines alone
};

// Makes an engine with its network, ready to infer: finds library and model, checks that engine and device are offered,
// falls back from a missing "GPU" to "CPU", sets the properties that the engine offers. Every failure is logged here
// but what is thrown. Returns null on failure. Throws std::filesystem::filesystem_error when the file system can't say
// whether the library is there, std::bad_alloc, and what is no std::exception. Thread: the caller of the first Init, or
// a job's. Lock: none of the helper's needed; the new engine's own is taken.
std::unique_ptr<hvq::inference::PluginEngine> BringUpEngine(const BringUpRequest& request, const HelperSeams& seams);

}  // namespace rvo_calyr
