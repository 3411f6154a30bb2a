#include "host/helper_selection.h"

#include "helpers/calyr_hvq_helper.h"
#include "helpers/calyr_hvq_re_helper.h"
#include "helpers/inhouse_hvq_helper.h"

namespace rvo_calyr {
namespace {

// Each is built at its first use, and keeps its engine when another takes over.
class ProcessSelection final : public HelperSelection {
 public:
    IRvoCalyrHelper* HelperFor(std::int32_t modelType) override {
        switch (modelType) {
            case 0:
                return &RvoCalyrHvqHelper::GetInstance();
            case 1:
                return &RvoCalyrHvqReHelper::GetInstance();
            case 2:
                return &RvoInhouseHvqHelper::GetInstance();
            default:
                return nullptr;
        }
    }
};

}  // namespace

HelperSelection& ProcessHelpers() {
    static HelperSelection& selection =
        *new ProcessSelection;  // never destroyed: the host is used until the process's end
    return selection;
}

}  // namespace rvo_calyr
