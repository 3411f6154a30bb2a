#include <cstdint>
#include <string>
#include <thread>
#include <vector>

#include "facade_fixture.h"
#include "support/watchdog.h"

namespace facade_tests {
namespace {

using hvq::inference::Dims;
using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> AllCalls(const Facade& facade) {
    std::vector<std::string> texts;
    for (const scripted_double::Call& call : facade.library.Calls())
        texts.push_back(call.text);
    return texts;
}

// A network with a small input and a small output.
class Layers : public testing::Test {
 protected:
    void SetUp() override {
        facade.library.Add("layer input in 1 2 3\nlayer output out 1 4\nfill out inference 10");
        facade.CreateWithNetwork();
    }

    Facade facade;
    const std::vector<float> data = {1, 2, 3, 4, 5, 6};
};

TEST_F(Layers, TellTheirDimensionsInTwoCalls) {
    EXPECT_THAT(facade.engine.GetLayerDims("in"), ElementsAre(1, 2, 3));

    EXPECT_THAT(AllCalls(facade), ElementsAre("hvqGetLayerDims 2 \"in\" null 0", "hvqHasException 2",
                                              "hvqGetLayerDims 2 \"in\" set 3", "hvqHasException 2"));
}

TEST_F(Layers, OfNoDimensionsAreAskedASecondTimeWithoutAnArray) {
    facade.library.Add("layer output out");

    EXPECT_THAT(facade.engine.GetLayerDims("out"), IsEmpty());

    EXPECT_THAT(facade.library.CallTexts(),
                ElementsAre("hvqGetLayerDims 2 \"out\" null 0", "hvqGetLayerDims 2 \"out\" null 0"));
}

TEST_F(Layers, KeepTheCountOfTheFirstCall) {
    facade.library.Add("answer hvqGetLayerDims next 4");

    EXPECT_THAT(facade.engine.GetLayerDims("in"), ElementsAre(1, 2, 3, 0)) << "zero where the library writes nothing";
}

TEST_F(Layers, OfAbsurdManyDimensionsEndInALengthError) {
    for (const char* count : {"65537", "-1", "1099511627776"}) {
        facade.library.Add(std::string("answer hvqGetLayerDims next ") + count);
        EXPECT_THROW((void)facade.engine.GetLayerDims("in"), std::length_error) << count;
    }
    facade.library.Add("answer hvqGetLayerDims next 65536");
    EXPECT_EQ(facade.engine.GetLayerDims("in").size(), 65536u);
}

TEST_F(Layers, TakeDataOfTheGivenShape) {
    facade.engine.SetLayerData("in", data.data(), {1, 2, 3});

    EXPECT_THAT(AllCalls(facade), ElementsAre("hvqSetLayerData 2 \"in\" set [1,2,3] 3", "hvqHasException 2"));
    EXPECT_EQ(facade.library.Input("in"), data);
}

TEST_F(Layers, HandNamesAndDataOverUnseen) {
    EXPECT_EQ(TextThrownBy([&] { facade.engine.SetLayerData("in", nullptr, {1, 2, 3}); }), "There is no data for in.");
    EXPECT_EQ(TextThrownBy([&] {
                  facade.engine.SetLayerData("in", data.data(), {3, 2, 1});
              }),
              "The data has not the shape of in.");
    EXPECT_EQ(TextThrownBy([&] { facade.engine.SetLayerData("", data.data(), {}); }), "There is no input layer .");
}

TEST_F(Layers, GiveTheLibrarysOwnData) {
    facade.engine.Infer();
    facade.engine.Infer();

    const auto* const out = static_cast<const float*>(facade.engine.GetLayerData("out"));

    ASSERT_NE(out, nullptr);
    EXPECT_THAT(std::vector<float>(out, out + 4), ElementsAre(20, 20, 20, 20));
    EXPECT_THAT(AllCalls(facade), ElementsAre("hvqInfer 2", "hvqHasException 2", "hvqInfer 2", "hvqHasException 2",
                                              "hvqGetLayerData 2 \"out\"", "hvqHasException 2"));
}

TEST_F(Layers, WithoutDataGiveNullAndNoException) {
    facade.library.Add("no-data out");

    EXPECT_EQ(facade.engine.GetLayerData("out"), nullptr);
    EXPECT_EQ(facade.engine.GetLayerData("unheard-of"), nullptr);
}

TEST_F(Layers, PassOnWhatTheLibraryComplainsOf) {
    const auto fails = [&](const std::string& which) { facade.library.Add("fail " + which + " broken"); };

    fails("hvqGetLayerDims next");
    EXPECT_EQ(TextThrownBy([&] { (void)facade.engine.GetLayerDims("in"); }), "broken");
    facade.library.Add("forget hvqGetLayerDims\nfail hvqGetLayerDims %2 broken");
    facade.library.ForgetCalls();
    EXPECT_EQ(TextThrownBy([&] { (void)facade.engine.GetLayerDims("in"); }), "broken");
    fails("hvqSetLayerData next");
    EXPECT_EQ(TextThrownBy([&] { facade.engine.SetLayerData("in", data.data(), {1, 2, 3}); }), "broken");
    fails("hvqGetLayerData next");
    EXPECT_EQ(TextThrownBy([&] { (void)facade.engine.GetLayerData("out"); }), "broken");
    fails("hvqInfer next");
    EXPECT_EQ(TextThrownBy([&] { facade.engine.Infer(); }), "broken");
}

TEST_F(Layers, WorkOnAfterAFailedInference) {
    facade.library.Add("fail hvqInfer 1 broken");

    EXPECT_EQ(TextThrownBy([&] { facade.engine.Infer(); }), "broken");
    EXPECT_NO_THROW(facade.engine.Infer());
}

TEST_F(Layers, AreFreeForOtherThreadsAfterAThrow) {
    facade.library.Add("fail hvqInfer 1 broken");
    EXPECT_EQ(TextThrownBy([&] { facade.engine.Infer(); }), "broken");

    const support::Watchdog watchdog;
    std::thread([&] { EXPECT_NE(facade.engine.GetLayerData("out"), nullptr); }).join();
}

TEST(LayersWithoutEngine, AreRefused) {
    hvq::inference::PluginEngine engine;

    EXPECT_EQ(TextThrownBy([&] { (void)engine.GetLayerDims("in"); }), kNotCreated);
    EXPECT_EQ(TextThrownBy([&] { (void)engine.GetLayerData("in"); }), kNotCreated);
    EXPECT_EQ(TextThrownBy([&] { engine.SetLayerData("in", nullptr, {}); }), kNotCreated);
}

TEST(LayersWithoutEngine, AreRefusedAfterAFailedCreationToo) {
    Facade facade("null hvqCreateWithLibraryLoader 2+");
    EXPECT_THROW(facade.engine.Create(facade.library.Path(), nullptr, nullptr), std::runtime_error);

    EXPECT_EQ(TextThrownBy([&] { (void)facade.engine.GetLayerDims("in"); }), kNotCreated);
    EXPECT_EQ(TextThrownBy([&] { (void)facade.engine.GetSupportEngines(); }), kNotCreated);
    EXPECT_THAT(facade.engine.GetEngineMutableProperties("OpenVINO"), IsEmpty());
}

TEST(LayersWithoutNetwork, AreRefusedByTheLibrary) {
    Facade facade;
    facade.Create();

    EXPECT_EQ(TextThrownBy([&] { (void)facade.engine.GetLayerDims("input"); }), "There is no network.");
    EXPECT_EQ(TextThrownBy([&] { facade.engine.Infer(); }), "There is no network.");
}

TEST(CheckException, ClearsTheTextInTheLibraryBeforeItThrows) {
    Facade facade("fail hvqInfer 1 \"out of memory\"");
    facade.CreateWithNetwork();

    EXPECT_EQ(TextThrownBy([&] { facade.engine.Infer(); }), "out of memory");

    EXPECT_THAT(AllCalls(facade), ElementsAre("hvqInfer 2", "hvqHasException 2", "hvqGetExceptionStringLength 2 set",
                                              "hvqGetExceptionString 2 set", "hvqResetExceptionString 2"));
    EXPECT_NO_THROW(facade.engine.CheckException());
}

TEST(CheckException, ThrowsAnEmptyTextToo) {
    Facade facade("fail hvqInfer 1 \"\"");
    facade.CreateWithNetwork();

    EXPECT_EQ(TextThrownBy([&] { facade.engine.Infer(); }), "");
}

TEST(CheckException, TakesALengthThatTheLibraryDoesNotWriteForNone) {
    Facade facade(
        "fail hvqInfer 1 broken\nanswer hvqGetExceptionStringLength 1 unwritten\nfail hvqGetExceptionString 1 x");
    facade.CreateWithNetwork();

    EXPECT_EQ(TextThrownBy([&] { facade.engine.Infer(); }), "");
}

TEST(CheckException, EndsInALengthErrorForAnAbsurdLengthAndLeavesTheTextInTheLibrary) {
    Facade facade("fail hvqInfer 1 broken\nanswer hvqGetExceptionStringLength 1 -1");
    facade.CreateWithNetwork();

    EXPECT_THROW(facade.engine.Infer(), std::length_error);
    EXPECT_EQ(TextThrownBy([&] { facade.engine.CheckException(); }), "broken");
}

}  // namespace
}  // namespace facade_tests
