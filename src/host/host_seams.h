#pragma once

#include "platform/kernel_objects.h"
#include "platform/standard_streams.h"
#include "platform/threads.h"

namespace rvo_calyr {

// The parts of the operating system that the host works on; the system's own unless a test says otherwise. What they
// refer to outlives the host.
struct HostSeams {
    platform::KernelObjects& kernelObjects = platform::SystemKernelObjects();
    platform::StandardStreams& streams = platform::SystemStandardStreams();
    platform::Threads& threads = platform::SystemThreads();
};

}  // namespace rvo_calyr
