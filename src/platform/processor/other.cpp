// For architectures without any of the features that are asked about.
#include "platform/processor_features.h"

namespace platform {

ProcessorFeatures ThisProcessorsFeatures() {
    return {};
}

}  // namespace platform
