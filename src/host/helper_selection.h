#pragma once

#include <cstdint>

namespace rvo_calyr {

class IRvoCalyrHelper;

// Knows which helper serves which family of models.
class HelperSelection {
 public:
    virtual ~HelperSelection() = default;

    // The helper for this model type, which lives until the process ends; null when there is no such type. Throws what
    // building it throws: std::system_error when it gets no thread, std::bad_alloc. Thread: any.
    virtual IRvoCalyrHelper* HelperFor(std::int32_t modelType) = 0;
};

// The process's own: 0 the full family, 1 the full one with a colour table, 2 the mask alone.
HelperSelection& ProcessHelpers();

}  // namespace rvo_calyr
