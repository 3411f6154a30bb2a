#include <gtest/gtest.h>

#include <cstdint>

#include "inference_fixture.h"
#include "support/allocation_counter.h"

namespace inference_tests {
namespace {

// What the double allocates counts here on Linux, and nothing of it on Windows: it makes none on these paths.
class FrameAllocations : public Inference {
 protected:
    FrameAllocations() : Inference("quiet\nfill segmentation constant 0") {}

    // Of one frame behind `warmUp` others, so many that the metrics have their room, and that no report is due.
    std::int64_t OfAFrame(RvoHvqHelper& helper, RvoHvqOutput& output, const Frame& frame, int warmUp) {
        for (int number = 0; number < warmUp; ++number)
            EXPECT_EQ(helper.Infer(&frame.input, &output), 0U);
        const std::int64_t before = AllocationCount();
        EXPECT_EQ(helper.Infer(&frame.input, &output), 0U);
        const std::int64_t count = AllocationCount() - before;
        EXPECT_EQ(output.status, 0);
        return count;
    }
};

TEST_F(FrameAllocations, AreTheDimensionsAlone) {
    const Frame frame;
    RvoCalyrOutput output(frame.input.header);
    RvoCalyrHvqHelper full(Seams());
    InitGood(full);
    EXPECT_EQ(OfAFrame(full, output, frame, 150), 4) << "of input, mask, gesture and landmarks";
    RvoCalyrHvqReHelper fullWithTable(Seams());
    InitGood(fullWithTable);
    EXPECT_EQ(OfAFrame(fullWithTable, output, frame, 150), 6) << "and of the table and its grid";
    RvoInhouseHvqHelper maskAlone(Seams());
    InitGood(maskAlone);
    EXPECT_EQ(OfAFrame(maskAlone, output, frame, 150), 2) << "of input and mask";
}

// An unchanged scene is inferred on every 18th frame, and each tenth inference takes a new reference.
TEST_F(FrameAllocations, OfARefreshAreNoMore) {
    Frame frame;
    frame.Temporal();
    RvoHvqOutput output(frame.input.header);
    RvoInhouseHvqHelper helper(Seams());
    InitGood(helper);

    EXPECT_EQ(OfAFrame(helper, output, frame, 10 * 18), 2);
}

TEST_F(FrameAllocations, OfASkippedFrameAreNone) {
    Frame frame;
    frame.Temporal();
    RvoHvqOutput output(frame.input.header);
    RvoInhouseHvqHelper helper(Seams());
    InitGood(helper);
    EXPECT_EQ(OfAFrame(helper, output, frame, 150), 0);
}

}  // namespace
}  // namespace inference_tests
