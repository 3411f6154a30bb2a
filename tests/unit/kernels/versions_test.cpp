#include <gmock/gmock.h>

#include "helpers/kernels/kernels.h"
#include "kernel_versions.h"

namespace rvo_calyr::kernels {
namespace {

bool HaveVectorVersions() {
    return Sse2Kernels() != nullptr;
}

TEST(KernelVersions, AreThoseOfTheArchitectureTogether) {
    EXPECT_EQ(Sse2Kernels() == nullptr, Avx2Kernels() == nullptr);
}

TEST(BestKernels, NeedsBothFeaturesForTheNewestVersion) {
    if (!HaveVectorVersions()) {
        GTEST_SKIP() << "This architecture has the plain version alone.";
    }

    EXPECT_EQ(&BestKernels({.avx2 = true, .popcnt = true}), Avx2Kernels());
    EXPECT_EQ(&BestKernels({.avx2 = true, .popcnt = false}), Sse2Kernels());
    EXPECT_EQ(&BestKernels({.avx2 = false, .popcnt = true}), Sse2Kernels());
    EXPECT_EQ(&BestKernels({.avx2 = false, .popcnt = false}), Sse2Kernels());
}

TEST(BestKernels, IsOneOfThoseThatThisProcessorRuns) {
    const Kernels* const best = &BestKernels();

    EXPECT_EQ(best, AllVersions().back());
    EXPECT_EQ(best, &BestKernels(platform::ThisProcessorsFeatures()));
}

TEST(KernelVersions, HaveNamesOfTheirOwn) {
    EXPECT_STREQ(PlainKernels().name, "plain");
    if (HaveVectorVersions()) {
        EXPECT_STREQ(Sse2Kernels()->name, "sse2");
        EXPECT_STREQ(Avx2Kernels()->name, "avx2");
    }
}

}  // namespace
}  // namespace rvo_calyr::kernels
