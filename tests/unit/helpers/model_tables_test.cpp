#include "helpers/model_tables.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

#include "helpers/layer_names.h"
#include "helpers/portrait_option.h"
#include "helpers/status.h"

namespace rvo_calyr {
namespace {

constexpr std::int32_t kLowest = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t kHighest = std::numeric_limits<std::int32_t>::max();

TEST(ModelTables, NameTheDevicesAsTheEngineDoes) {
    EXPECT_STREQ(kDeviceNames[0], "AUTO");
    EXPECT_STREQ(kDeviceNames[1], "CPU");
    EXPECT_STREQ(kDeviceNames[2], "GPU");
    EXPECT_STREQ(kDeviceNames[3], "NPU");
}

TEST(ModelTables, HoldTheSizeOfEachQuality) {
    EXPECT_EQ(kModelWidths[0], 256);
    EXPECT_EQ(kModelHeights[0], 144);
    EXPECT_EQ(kModelWidths[1], 640);
    EXPECT_EQ(kModelHeights[1], 360);
}

TEST(ModelTables, SayWhichDeviceTypesTheyHave) {
    for (const std::int32_t named : {0, 1, 2, 3})
        EXPECT_TRUE(NamesADevice(named)) << named;
    for (const std::int32_t unnamed : {-1, 4, kLowest, kHighest})
        EXPECT_FALSE(NamesADevice(unnamed)) << unnamed;
}

TEST(ModelTables, SayWhichQualitiesTheyHave) {
    for (const std::int32_t named : {0, 1})
        EXPECT_TRUE(NamesAQuality(named)) << named;
    for (const std::int32_t unnamed : {-1, 2, 3, kLowest, kHighest})
        EXPECT_FALSE(NamesAQuality(unnamed)) << unnamed;
}

TEST(ModelTables, HaveNoQualityForAnOptionThatNobodyHasSet) {
    EXPECT_TRUE(NamesADevice(_CalyrPortraitOption().deviceType));
    EXPECT_FALSE(NamesAQuality(_CalyrPortraitOption().modelQuality));
}

TEST(LayerNames, AreThoseOfTheModels) {
    EXPECT_EQ(kInputLayer, "input");
    EXPECT_EQ(kSegmentationLayer, "segmentation");
    EXPECT_EQ(kLandmarksLayer, "faces_and_landmarks");
    EXPECT_EQ(kMotionLayer, "motion");
    EXPECT_EQ(kGestureLayer, "gesture");
    EXPECT_EQ(kLutLayer, "lut");
    EXPECT_EQ(kLutVerticesLayer, "lut_vertices");
}

TEST(Statuses, AreThoseThatThePeerKnows) {
    EXPECT_EQ(kStatusSuccess, 0U);
    EXPECT_EQ(kStatusBadArguments, 2U);
    EXPECT_EQ(kStatusNoEngine, 3U);
    EXPECT_EQ(kStatusInferenceFailed, 4U);
    EXPECT_EQ(kStatusNothingWritten, 4U);
    EXPECT_EQ(kStatusNotSupported, 7U);
}

}  // namespace
}  // namespace rvo_calyr
