#include "processors_beyond_masks.h"

#include <algorithm>

#include "platform/posix/processor_files.h"

namespace probes {

bool HasProcessorsBeyondMasks() {
    const auto online = platform::posix::OnlineProcessors(platform::posix::kProcessorFolder);
    return online && std::any_of(online->begin(), online->end(), [](auto number) { return number > 63; });
}

}  // namespace probes
