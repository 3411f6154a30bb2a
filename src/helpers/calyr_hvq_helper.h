#pragma once

#include "helpers/hvq_helper.h"
#include "infra/singleton.h"

namespace rvo_calyr {

// The full family, model type 0: mask, landmarks, motion and gesture. The process's one is destroyed at exit, which
// waits for a bring-up that is under way.
class RvoCalyrHvqHelper final : public RvoHvqHelper, public infra::Singleton<RvoCalyrHvqHelper, infra::NeedDestructor> {
 public:
    RvoCalyrHvqHelper() : RvoCalyrHvqHelper(HelperSeams()) {}
    explicit RvoCalyrHvqHelper(const HelperSeams& seams);

    void SelectModelFile(const _CalyrPortraitOption& option) override;
};

}  // namespace rvo_calyr
