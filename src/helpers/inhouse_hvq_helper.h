#pragma once

#include <cstdint>

#include "helpers/hvq_helper.h"
#include "infra/singleton.h"

namespace rvo_calyr {

// The small family, model type 2: the mask alone. The process's one is never destroyed: an exit does not wait for a
// bring-up, and the library stays loaded until the process is gone.
class RvoInhouseHvqHelper final : public RvoHvqHelper,
                                  public infra::Singleton<RvoInhouseHvqHelper, infra::NoDestructor> {
 public:
    RvoInhouseHvqHelper() : RvoInhouseHvqHelper(HelperSeams()) {}
    explicit RvoInhouseHvqHelper(const HelperSeams& seams);

    void SelectModelFile(const _CalyrPortraitOption& option) override;
    std::uint32_t SetInput() override;
    // Not supported; the output's status stays.
    std::uint32_t SetLandmarks(RvoHvqOutput& output) override;
    std::uint32_t SetMotion(RvoHvqOutput& output) override;
    std::uint32_t SetGesture(RvoHvqOutput& output) override;
};

}  // namespace rvo_calyr
