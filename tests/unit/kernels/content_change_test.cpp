#include "helpers/kernels/content_change.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <random>
#include <vector>

#include "guarded_array.h"
#include "kernel_versions.h"

namespace rvo_calyr {
namespace {

using kernels::AllVersions;
using kernels::FastVersions;
using kernels::Kernels;
using kernels::kVersionName;
using kernels::PlainKernels;

constexpr std::int32_t kInfer = 1;
constexpr std::int32_t kSkip = 0;
constexpr std::int32_t kNotWritten = -77;

// A frame, its reference and an edge map, grey and empty at first.
struct Scene {
    explicit Scene(std::int32_t pixels)
        : pixelCount(pixels),
          current(static_cast<std::size_t>(pixels) * 3, 100),
          reference(current),
          edgeMap(static_cast<std::size_t>(pixels), 0) {}

    // Puts the first `count` pixels on the map.
    void MarkEdge(std::int32_t count) {
        std::fill_n(edgeMap.begin(), count, std::uint8_t{1});
        edgeCount = count;
    }

    // Changes the first `count` pixels far enough.
    void Change(std::int32_t count) { std::fill_n(current.begin(), count, std::uint8_t{131}); }

    std::int32_t Detect(const Kernels* version) {
        return DetectContentChange(*version, pixelCount, current.data(), reference.data(), edgeMap.data(), edgeCount,
                                   skipCount, 2, &permille);
    }

    std::int32_t pixelCount;
    std::vector<std::uint8_t> current;
    std::vector<std::uint8_t> reference;
    std::vector<std::uint8_t> edgeMap;
    std::int32_t edgeCount = 0;
    std::int32_t skipCount = 0;
    std::int32_t permille = kNotWritten;
};

class DetectContentChangeWith : public testing::TestWithParam<const Kernels*> {};

TEST_P(DetectContentChangeWith, InfersAndStartsOverWhenAnArrayIsMissing) {
    Scene scene(100);
    scene.MarkEdge(100);
    const std::uint8_t* const current = scene.current.data();
    const std::uint8_t* const reference = scene.reference.data();
    const std::uint8_t* const map = scene.edgeMap.data();
    for (const std::int32_t skipped : {-3, 5, 17}) {
        std::int32_t permille = kNotWritten;
        std::int32_t skipCount = skipped;
        EXPECT_EQ(DetectContentChange(*GetParam(), 100, nullptr, reference, map, 100, skipCount, 2, &permille), kInfer);
        EXPECT_EQ(skipCount, 0);
        skipCount = skipped;
        EXPECT_EQ(DetectContentChange(*GetParam(), 100, current, nullptr, map, 100, skipCount, 2, &permille), kInfer);
        EXPECT_EQ(skipCount, 0);
        skipCount = skipped;
        EXPECT_EQ(DetectContentChange(*GetParam(), 100, current, reference, nullptr, 100, skipCount, 2, &permille),
                  kInfer);
        EXPECT_EQ(skipCount, 0);
        EXPECT_EQ(permille, kNotWritten);
    }
}

TEST_P(DetectContentChangeWith, SkipsAndCountsUpWhileTheCountIsNegative) {
    Scene scene(100);
    scene.MarkEdge(100);
    scene.Change(100);
    scene.skipCount = -2;

    EXPECT_EQ(scene.Detect(GetParam()), kSkip);
    EXPECT_EQ(scene.skipCount, -1);
    EXPECT_EQ(scene.Detect(GetParam()), kSkip);
    EXPECT_EQ(scene.skipCount, 0);
    EXPECT_EQ(scene.permille, kNotWritten);
    EXPECT_EQ(scene.Detect(GetParam()), kInfer);
    EXPECT_EQ(scene.permille, 1000);
}

TEST_P(DetectContentChangeWith, StillSkipsAtSixteenAndInfersAtSeventeen) {
    Scene scene(100);
    scene.MarkEdge(100);
    scene.skipCount = 16;

    EXPECT_EQ(scene.Detect(GetParam()), kSkip);
    EXPECT_EQ(scene.skipCount, 17);
    EXPECT_EQ(scene.permille, 0);

    scene.permille = kNotWritten;
    EXPECT_EQ(scene.Detect(GetParam()), kInfer);
    EXPECT_EQ(scene.skipCount, 0);
    EXPECT_EQ(scene.permille, kNotWritten);
}

TEST_P(DetectContentChangeWith, InfersEveryEighteenthFrameOfAStillScene) {
    Scene scene(100);
    scene.MarkEdge(100);
    for (int round = 0; round < 3; ++round) {
        for (int skipped = 0; skipped < 17; ++skipped) {
            EXPECT_EQ(scene.Detect(GetParam()), kSkip);
        }
        EXPECT_EQ(scene.Detect(GetParam()), kInfer);
    }
}

TEST_P(DetectContentChangeWith, SkipsWithoutMeasuringBelowNineEdgePixels) {
    Scene scene(100);
    scene.MarkEdge(8);
    scene.Change(100);

    EXPECT_EQ(scene.Detect(GetParam()), kSkip);
    EXPECT_EQ(scene.skipCount, 1);
    EXPECT_EQ(scene.permille, kNotWritten);

    scene.MarkEdge(9);
    EXPECT_EQ(scene.Detect(GetParam()), kInfer);
    EXPECT_EQ(scene.skipCount, 0);
    EXPECT_EQ(scene.permille, 1000);
}

TEST_P(DetectContentChangeWith, CountsAPixelFromASumOfThirtyOneOn) {
    Scene scene(9);
    scene.MarkEdge(9);
    scene.current[4] = 110;          // first plane: 10 more
    scene.current[9 + 4] = 90;       // second: 10 less
    scene.current[2 * 9 + 4] = 110;  // third: 10 more, 30 in all
    scene.Detect(GetParam());
    EXPECT_EQ(scene.permille, 0);

    scene.current[2 * 9 + 4] = 111;
    scene.Detect(GetParam());
    EXPECT_EQ(scene.permille, 111);  // 1000 / 9, truncated
}

TEST_P(DetectContentChangeWith, StillSkipsAt180PermilleAndInfersAt181) {
    Scene scene(1000);
    scene.MarkEdge(1000);
    scene.Change(180);
    EXPECT_EQ(scene.Detect(GetParam()), kSkip);
    EXPECT_EQ(scene.permille, 180);
    EXPECT_EQ(scene.skipCount, 1);

    scene.Change(181);
    EXPECT_EQ(scene.Detect(GetParam()), kInfer);
    EXPECT_EQ(scene.permille, 181);
    EXPECT_EQ(scene.skipCount, 0);
}

TEST_P(DetectContentChangeWith, CutsTheFractionOffBeforeItCompares) {
    Scene scene(1000);
    scene.MarkEdge(94);
    scene.Change(17);  // 180.85 permille
    EXPECT_EQ(scene.Detect(GetParam()), kSkip);
    EXPECT_EQ(scene.permille, 180);

    scene.MarkEdge(93);  // 182.79
    EXPECT_EQ(scene.Detect(GetParam()), kInfer);
    EXPECT_EQ(scene.permille, 182);
}

TEST_P(DetectContentChangeWith, LooksOnlyAtPixelsOnTheMapWhateverTheirByte) {
    Scene scene(200);
    scene.Change(200);
    for (std::size_t i = 0; i < 10; ++i) {
        scene.edgeMap[i * 20] = static_cast<std::uint8_t>(1 + i * 28);  // 1 to 253
    }
    scene.edgeCount = 100;

    scene.Detect(GetParam());

    EXPECT_EQ(scene.permille, 100);
}

TEST_P(DetectContentChangeWith, NeedsNoPlaceForTheMeasure) {
    Scene scene(100);
    scene.MarkEdge(100);
    scene.Change(100);

    EXPECT_EQ(DetectContentChange(*GetParam(), 100, scene.current.data(), scene.reference.data(), scene.edgeMap.data(),
                                  100, scene.skipCount, 2, nullptr),
              kInfer);
}

TEST_P(DetectContentChangeWith, DoesNotReadTheMode) {
    for (const std::uint64_t mode : {std::uint64_t{0}, std::uint64_t{2}, std::numeric_limits<std::uint64_t>::max()}) {
        Scene scene(100);
        scene.MarkEdge(100);
        scene.Change(50);

        EXPECT_EQ(DetectContentChange(*GetParam(), 100, scene.current.data(), scene.reference.data(),
                                      scene.edgeMap.data(), 100, scene.skipCount, mode, &scene.permille),
                  kInfer);
        EXPECT_EQ(scene.permille, 500);
    }
}

TEST_P(DetectContentChangeWith, FindsNothingInAFrameOfNoPixels) {
    for (const std::int32_t pixels : {0, -1, std::numeric_limits<std::int32_t>::min()}) {
        Scene scene(100);
        scene.MarkEdge(100);
        scene.Change(100);
        scene.pixelCount = pixels;

        EXPECT_EQ(scene.Detect(GetParam()), kSkip);
        EXPECT_EQ(scene.permille, 0);
    }
}

TEST_P(DetectContentChangeWith, CountsAllPixelsOfALargeFrame) {
    Scene scene(640 * 360);
    scene.MarkEdge(640 * 360);
    scene.Change(640 * 360);
    scene.edgeCount = 640 * 360;

    EXPECT_EQ(scene.Detect(GetParam()), kInfer);
    EXPECT_EQ(scene.permille, 1000);
}

INSTANTIATE_TEST_SUITE_P(Versions, DetectContentChangeWith, testing::ValuesIn(AllVersions()), kVersionName);

class CountChangedPixelsBy : public testing::TestWithParam<const Kernels*> {};

TEST_P(CountChangedPixelsBy, HoldsToTheThresholdForEveryDifferenceOfEveryPlane) {
    // A pixel for each pair of bytes in one plane, with a fixed difference in the others.
    constexpr std::size_t kPixels = std::size_t{256} * 256;
    for (std::size_t plane = 0; plane < 3; ++plane) {
        for (const int other : {0, 7, 15, 16, 200, 255}) {
            std::vector<std::uint8_t> current(3 * kPixels, 0);
            std::vector<std::uint8_t> reference(3 * kPixels, static_cast<std::uint8_t>(other));
            std::size_t expected = 0;
            for (std::size_t i = 0; i < kPixels; ++i) {
                const int a = static_cast<int>(i / 256);
                const int b = static_cast<int>(i % 256);
                current[plane * kPixels + i] = static_cast<std::uint8_t>(a);
                reference[plane * kPixels + i] = static_cast<std::uint8_t>(b);
                expected += std::max(a, b) - std::min(a, b) + 2 * other > 30 ? 1u : 0u;
            }
            const std::vector<std::uint8_t> map(kPixels, 255);

            EXPECT_EQ(GetParam()->countChangedPixels(kPixels, current.data(), reference.data(), map.data()), expected)
                << plane << ", " << other;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Versions, CountChangedPixelsBy, testing::ValuesIn(AllVersions()), kVersionName);

class FastCountChangedPixels : public testing::TestWithParam<const Kernels*> {};

TEST_P(FastCountChangedPixels, CountsAsThePlainOneBetweenGuards) {
    std::mt19937 random(4);
    std::vector<std::size_t> lengths;
    for (std::size_t length = 0; length <= 200; ++length) {
        lengths.push_back(length);
    }
    lengths.insert(lengths.end(), {8191, 8192, 8193, 16384, 20011, 36864});
    for (const Guard guard : {Guard::Before, Guard::Behind}) {
        for (const std::size_t length : lengths) {
            for (const unsigned int density : {1u, 2u, 8u, 100u, 5000u}) {  // one pixel in so many is on the map
                const GuardedArray<std::uint8_t> current(3 * length, guard);
                const GuardedArray<std::uint8_t> reference(3 * length, guard);
                const GuardedArray<std::uint8_t> map(length, guard);
                for (std::size_t i = 0; i < 3 * length; ++i) {
                    current.Data()[i] = static_cast<std::uint8_t>(random());
                    const unsigned int reach = random() % 2 == 0 ? 24 : 256;  // about the threshold, or anywhere
                    reference.Data()[i] = static_cast<std::uint8_t>(current.Data()[i] + random() % reach);
                }
                for (std::size_t i = 0; i < length; ++i) {
                    map.Data()[i] = static_cast<std::uint8_t>(random() % density == 0 ? random() : 0);
                }

                ASSERT_EQ(GetParam()->countChangedPixels(length, current.Data(), reference.Data(), map.Data()),
                          PlainKernels().countChangedPixels(length, current.Data(), reference.Data(), map.Data()))
                    << length << ", " << density;
            }
        }
    }
}

TEST_P(FastCountChangedPixels, WorksAtEveryAlignment) {
    std::mt19937 random(5);
    constexpr std::size_t kPixels = 777;
    std::vector<std::uint8_t> bytes(8 * kPixels);
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<std::uint8_t>(random()); });
    for (std::size_t start = 0; start < 64; ++start) {
        const std::uint8_t* const current = bytes.data() + start;
        const std::uint8_t* const reference = bytes.data() + 3 * kPixels + 63 - start;
        const std::uint8_t* const map = bytes.data() + 7 * kPixels - start;

        ASSERT_EQ(GetParam()->countChangedPixels(kPixels, current, reference, map),
                  PlainKernels().countChangedPixels(kPixels, current, reference, map))
            << start;
    }
}

INSTANTIATE_TEST_SUITE_P(Versions, FastCountChangedPixels, testing::ValuesIn(FastVersions()), kVersionName);
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(FastCountChangedPixels);

TEST(DetectContentChange, TakesTheVersionOfThisProcessor) {
    Scene scene(1000);
    scene.MarkEdge(500);
    scene.Change(250);

    EXPECT_EQ(DetectContentChange(1000, scene.current.data(), scene.reference.data(), scene.edgeMap.data(), 500,
                                  scene.skipCount, 2, &scene.permille),
              kInfer);
    EXPECT_EQ(scene.permille, 500);
}

}  // namespace
}  // namespace rvo_calyr
