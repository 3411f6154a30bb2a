#include "helpers/option_changed.h"

#include <cstring>

#include "helpers/portrait_option.h"

namespace rvo_calyr {
namespace {

bool SameText(const char (&left)[kPathBytes], const char (&right)[kPathBytes]) {
    return std::strncmp(left, right, kPathBytes) == 0;
}

}  // namespace

bool OptionChanged(const _CalyrPortraitOption& left, const _CalyrPortraitOption& right) {
    return !SameText(left.enginePath, right.enginePath) || !SameText(left.modelPath, right.modelPath) ||
           !SameText(left.gpuCachePath, right.gpuCachePath) || left.modelQuality != right.modelQuality ||
           left.deviceType != right.deviceType;
}

}  // namespace rvo_calyr
