#include "host/helper_selection.h"

namespace rvo_calyr {
namespace {

class NoHelpers final : public HelperSelection {
 public:
    IRvoCalyrHelper* HelperFor(std::int32_t /*modelType*/) override { return nullptr; }
};

}  // namespace

HelperSelection& ProcessHelpers() {
    static HelperSelection& selection = *new NoHelpers;  // never destroyed: the host is used until the process's end
    return selection;
}

}  // namespace rvo_calyr
