#pragma once

#include "engine/loader_seams.h"
#include "helpers/process_limits.h"
#include "platform/clock.h"
#include "platform/module_files.h"
#include "platform/text_conversion.h"
#include "platform/threads.h"

namespace rvo_calyr {

// What a helper works on: parts of the operating system, and the limits of the process's log. The process's own unless
// a test says otherwise. What they refer to outlives the helper.
struct HelperSeams {
    hvq::util::LoaderSeams loader = {};
    platform::Clock& clock = platform::SystemClock();
    platform::ModuleFiles& moduleFiles = platform::SystemModuleFiles();
    platform::TextConversion& conversion = platform::SystemTextConversion();
    platform::Threads& threads = platform::SystemThreads();
    ProcessLimits& limits = TheProcessLimits();
};

}  // namespace rvo_calyr
