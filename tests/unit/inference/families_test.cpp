// What the three families have of their own, and their singletons.

#include <memory>
#include <string>
#include <type_traits>

#include "inference_fixture.h"

namespace inference_tests {
namespace {

static_assert(std::is_base_of_v<infra::Singleton<RvoCalyrHvqHelper, infra::NeedDestructor>, RvoCalyrHvqHelper>);
static_assert(std::is_base_of_v<infra::Singleton<RvoCalyrHvqReHelper, infra::NeedDestructor>, RvoCalyrHvqReHelper>);
static_assert(std::is_base_of_v<infra::Singleton<RvoInhouseHvqHelper, infra::NoDestructor>, RvoInhouseHvqHelper>);
static_assert(std::is_abstract_v<RvoHvqHelper>);
static_assert(std::is_base_of_v<rvo_calyr::IRvoCalyrHelper, RvoHvqHelper>);

TEST(FamilySingletons, AreOneObjectEach) {
    EXPECT_EQ(&RvoCalyrHvqHelper::GetInstance(), &RvoCalyrHvqHelper::GetInstance());
    EXPECT_EQ(&RvoCalyrHvqReHelper::GetInstance(), &RvoCalyrHvqReHelper::GetInstance());
    EXPECT_EQ(&RvoInhouseHvqHelper::GetInstance(), &RvoInhouseHvqHelper::GetInstance());
}

TEST(FamilySingletons, BeginWithWhatAllFamiliesShare) {
    RvoCalyrHvqHelper& helper = RvoCalyrHvqHelper::GetInstance();
    EXPECT_EQ(static_cast<void*>(static_cast<RvoHvqHelper*>(&helper)), static_cast<void*>(&helper));
}

class Families : public Inference {};

TEST_F(Families, SayTheSameUnderTheirOwnNames) {
    const Frame frame;
    RvoCalyrOutput output(frame.input.header);
    const auto works = [&](std::unique_ptr<RvoHvqHelper> helper) {
        EXPECT_EQ(helper->Init(Option()), 0U);
        EXPECT_EQ(helper->Infer(&frame.input, &output), 0U);
        EXPECT_EQ(output.status, 0);
        helper->Reserved();
    };
    works(std::make_unique<RvoCalyrHvqHelper>(Seams()));
    works(std::make_unique<RvoCalyrHvqReHelper>(Seams()));
    works(std::make_unique<RvoInhouseHvqHelper>(Seams()));
    EXPECT_EQ(m_library.LiveEngines(), 0U) << "each destroys its engine";
}

TEST_F(Families, KeepTheirEnginesApart) {
    RvoCalyrHvqHelper full(Seams());
    RvoInhouseHvqHelper maskAlone(Seams());
    InitGood(full);
    InitGood(maskAlone);
    const Frame frame;
    RvoCalyrOutput output(frame.input.header);

    EXPECT_EQ(full.Infer(&frame.input, &output), 0U);
    EXPECT_EQ(maskAlone.Infer(&frame.input, &output), 0U);

    EXPECT_THAT(CallsOf("hvqInfer"), ::testing::ElementsAre("hvqInfer 2", "hvqInfer 4"));
}

TEST_F(Families, AnswerSuccessForAllOutputsTogetherWhateverTheyFound) {
    m_library.Add("no-data segmentation\nno-data lut");
    RvoCalyrHvqReHelper helper(Seams());
    InitGood(helper);
    RvoCalyrOutput output(HeaderOf(kWidth, kHeight));

    EXPECT_EQ(helper.SetOutput(output), 0U);

    EXPECT_EQ(output.status, 2);
}

}  // namespace
}  // namespace inference_tests
