#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "helpers/kernels/kernels.h"
#include "platform/processor_features.h"

namespace rvo_calyr::kernels {

// For the names of failed tests.
inline void PrintTo(const Kernels* kernels, std::ostream* out) {
    *out << kernels->name;
}

// The vector versions that this processor can run.
inline std::vector<const Kernels*> FastVersions() {
    const platform::ProcessorFeatures features = platform::ThisProcessorsFeatures();
    std::vector<const Kernels*> versions;
    if (Sse2Kernels() != nullptr) {
        versions.push_back(Sse2Kernels());
    }
    if (Avx2Kernels() != nullptr && features.avx2 && features.popcnt) {
        versions.push_back(Avx2Kernels());
    }
    return versions;
}

// Those and the plain one.
inline std::vector<const Kernels*> AllVersions() {
    std::vector<const Kernels*> versions = FastVersions();
    versions.insert(versions.begin(), &PlainKernels());
    return versions;
}

// For INSTANTIATE_TEST_SUITE_P.
inline constexpr auto kVersionName = [](const auto& info) { return std::string(info.param->name); };

}  // namespace rvo_calyr::kernels
