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
    // An architecture without vector versions has the plain one in their place.
    const Kernels* const base = HaveVectorVersions() ? Sse2Kernels() : &PlainKernels();
    const Kernels* const newest = HaveVectorVersions() ? Avx2Kernels() : &PlainKernels();

    EXPECT_EQ(&BestKernels({.avx2 = true, .popcnt = true}), newest);
    EXPECT_EQ(&BestKernels({.avx2 = true, .popcnt = false}), base);
    EXPECT_EQ(&BestKernels({.avx2 = false, .popcnt = true}), base);
    EXPECT_EQ(&BestKernels({.avx2 = false, .popcnt = false}), base);
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
