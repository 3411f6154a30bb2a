#pragma once

#include <cstdint>

#include "helpers/hvq_helper.h"
#include "infra/singleton.h"

namespace rvo_calyr {

// The full family with a colour table, model type 1. The process's one is destroyed at exit, which waits for a bring-up
// that is under way.
class RvoCalyrHvqReHelper final : public RvoHvqHelper,
                                  public infra::Singleton<RvoCalyrHvqReHelper, infra::NeedDestructor> {
 public:
    RvoCalyrHvqReHelper() : RvoCalyrHvqReHelper(HelperSeams()) {}
    explicit RvoCalyrHvqReHelper(const HelperSeams& seams);

    void SelectModelFile(const _CalyrPortraitOption& option) override;
    // Moves the table of 33 colours per axis and its grid.
    std::uint32_t SetLut(RvoHvqOutput& output) override;
};

}  // namespace rvo_calyr
