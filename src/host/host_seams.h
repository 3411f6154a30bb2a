#pragma once

#include "host/helper_selection.h"
#include "platform/kernel_objects.h"
#include "platform/standard_streams.h"
#include "platform/threads.h"

namespace rvo_calyr {

// What the host works on: parts of the operating system, and the helpers. The process's own unless a test says
// otherwise. What they refer to outlives the host.
struct HostSeams {
    platform::KernelObjects& kernelObjects = platform::SystemKernelObjects();
    platform::StandardStreams& streams = platform::SystemStandardStreams();
    platform::Threads& threads = platform::SystemThreads();
    HelperSelection& helpers = ProcessHelpers();
};

}  // namespace rvo_calyr
