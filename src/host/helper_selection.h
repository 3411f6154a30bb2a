#pragma once

#include <cstdint>

namespace rvo_calyr {

class IRvoCalyrHelper;

// Knows which helper serves which family of models.
class HelperSelection {
 public:
    virtual ~HelperSelection() = default;

    // The helper for this model type, which lives as long as the process; null when there is none. Thread: any.
    virtual IRvoCalyrHelper* HelperFor(std::int32_t modelType) = 0;
};

// What the process has: in this version, no helper for any type.
HelperSelection& ProcessHelpers();

}  // namespace rvo_calyr
