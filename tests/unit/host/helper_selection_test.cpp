#include "host/helper_selection.h"

#include <gtest/gtest.h>

#include <cstdint>

#include "helpers/calyr_hvq_helper.h"
#include "helpers/calyr_hvq_re_helper.h"
#include "helpers/inhouse_hvq_helper.h"

namespace rvo_calyr {
namespace {

TEST(ProcessHelpers, AreOnePerModelType) {
    HelperSelection& helpers = ProcessHelpers();
    for (int time = 0; time < 2; ++time) {
        EXPECT_EQ(helpers.HelperFor(0), &RvoCalyrHvqHelper::GetInstance());
        EXPECT_EQ(helpers.HelperFor(1), &RvoCalyrHvqReHelper::GetInstance());
        EXPECT_EQ(helpers.HelperFor(2), &RvoInhouseHvqHelper::GetInstance());
    }
}

TEST(ProcessHelpers, AreNoneForOtherModelTypes) {
    for (const std::int32_t type : {-1, 3, 7, INT32_MIN, INT32_MAX})
        EXPECT_EQ(ProcessHelpers().HelperFor(type), nullptr) << type;
}

}  // namespace
}  // namespace rvo_calyr
