#include <chrono>
#include <cstdint>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "facade_fixture.h"
#include "support/watchdog.h"

// The double has to be what its README says, or the tests on it show nothing.
namespace facade_tests {
namespace {

using hvq::inference::PluginEngine;
using scripted_double::ScratchLibrary;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;

std::vector<float> OutputOf(Facade& facade, const std::string& layer, std::size_t count) {
    const auto* const data = static_cast<const float*>(facade.engine.GetLayerData(layer));
    return data == nullptr ? std::vector<float>() : std::vector<float>(data, data + count);
}

std::string TextOf(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

TEST(ScriptedDouble, WorksWithoutAScript) {
    Facade facade;
    facade.Create();
    facade.engine.RegisterModel("m", facade.library.Path().string());
    facade.engine.CreateNetwork("OpenVINO", "n", "AUTO", "m",
                                {{"CACHE_DIR", std::filesystem::path("c")},
                                 {"INFERENCE_THREADS_NUMBER", std::string("1")},
                                 {"RUNTIME_STREAMS_NUMBER", std::string("1")}});

    EXPECT_THAT(facade.engine.GetSupportDevices("OpenVINO"), ElementsAre("AUTO", "CPU", "GPU"));
    EXPECT_THAT(facade.engine.GetLayerDims("input"), ElementsAre(1, 4, 144, 256));
    EXPECT_THAT(facade.engine.GetLayerDims("segmentation"), ElementsAre(1, 1, 144, 256));
    EXPECT_THAT(facade.engine.GetLayerDims("faces_and_landmarks"), ElementsAre(1, 1, 9, 16, 1439));
    EXPECT_THAT(facade.engine.GetLayerDims("motion"), ElementsAre(1, 1));
    EXPECT_THAT(facade.engine.GetLayerDims("gesture"), ElementsAre(1, 9));
    EXPECT_THAT(facade.engine.GetLayerDims("lut"), ElementsAre(1, 3, 33, 33, 33));
    EXPECT_THAT(facade.engine.GetLayerDims("lut_vertices"), ElementsAre(1, 3, 33));
    facade.engine.Infer();
    EXPECT_THAT(OutputOf(facade, "gesture", 9), ElementsAre(1, 2, 3, 4, 5, 6, 7, 8, 9));
}

TEST(ScriptedDouble, FillsLayersInManyWays) {
    Facade facade(
        "layer input in 4\n"
        "layer output values 3\nfill values values 1 2.5\n"
        "layer output constant 2\nfill constant constant -1\n"
        "layer output ramp 4\nfill ramp ramp 1 2 5\n"
        "layer output number 2\nfill number inference 10\n"
        "layer output copy 3\nfill copy copy in 2\n"
        "layer output late 1\nfill late constant 7\nfill late from 2 constant 8\n");
    facade.CreateWithNetwork();
    const std::vector<float> in = {5, 6, 7, 8};
    facade.engine.SetLayerData("in", in.data(), {4});
    facade.engine.Infer();

    EXPECT_THAT(OutputOf(facade, "values", 3), ElementsAre(1, 2.5, 0));
    EXPECT_THAT(OutputOf(facade, "constant", 2), ElementsAre(-1, -1));
    EXPECT_THAT(OutputOf(facade, "ramp", 4), ElementsAre(1, 3, 0, 2));
    EXPECT_THAT(OutputOf(facade, "number", 2), ElementsAre(10, 10));
    EXPECT_THAT(OutputOf(facade, "copy", 3), ElementsAre(7, 8, 7));
    EXPECT_THAT(OutputOf(facade, "late", 1), ElementsAre(7));
    facade.engine.Infer();
    EXPECT_THAT(OutputOf(facade, "number", 2), ElementsAre(20, 20));
    EXPECT_THAT(OutputOf(facade, "late", 1), ElementsAre(8));
    facade.library.Add("fill late constant 9");
    facade.engine.Infer();
    EXPECT_THAT(OutputOf(facade, "late", 1), ElementsAre(9)) << "what is added holds from the next inference on";
}

TEST(ScriptedDouble, GivesTheSameRandomNumbersForTheSameSeed) {
    Facade facade("layer output same 64\nfill same random 3\nlayer output other 64\nfill other noise 3");
    facade.CreateWithNetwork();
    facade.engine.Infer();
    const std::vector<float> same = OutputOf(facade, "same", 64);
    const std::vector<float> other = OutputOf(facade, "other", 64);
    facade.engine.Infer();

    EXPECT_EQ(OutputOf(facade, "same", 64), same);
    EXPECT_NE(OutputOf(facade, "other", 64), other);
    EXPECT_THAT(same, Each(testing::AllOf(testing::Ge(0), testing::Le(255))));
}

TEST(ScriptedDouble, FailsTheCallsThatItWasToldTo) {
    struct Case {
        const char* which;
        std::vector<bool> fails;
    };
    for (const Case& one : {Case{"2", {false, true, false, false}}, Case{"2+", {false, true, true, true}},
                            Case{"%2", {false, true, false, true}}, Case{"*", {true, true, true, true}},
                            Case{"next", {true, false, false, false}}, Case{"next+", {true, true, true, true}}}) {
        Facade facade;
        facade.CreateWithNetwork();
        facade.library.Add(std::string("fail hvqInfer ") + one.which + " broken");
        std::vector<bool> fails;
        for (std::size_t call = 0; call < one.fails.size(); ++call)
            fails.push_back(TextThrownBy([&] { facade.engine.Infer(); }) == "broken");
        EXPECT_EQ(fails, one.fails) << one.which;
    }
}

TEST(ScriptedDouble, RefusesScriptsThatItDoesNotUnderstand) {
    for (const char* script :
         {"nonsense", "version", "version a b", "version \"open", "fail hvqNothing 1 x", "fail hvqInfer 0 x",
          "fail hvqInfer x x", "fail hvqInfer %0 x", "fill input", "fill nothing constant 1", "fill input ramp 1",
          "devices nothing CPU", "layer sideways in 1", "layer input in -1", "answer hvqInfer 1 many",
          "answer hvqInfer 1", "answer hvqInfer 1 1 many"}) {
        EXPECT_THROW(ScriptedLibrary{script}, std::runtime_error) << script;
    }
    EXPECT_NO_THROW(ScriptedLibrary{"# a remark\n\n  version \"1 \\\"2\\\"\\n\" # and another\n"});
}

TEST(ScriptedDouble, NamesTheLineThatItDoesNotUnderstand) {
    try {
        const ScriptedLibrary library("version 1\nversion 2\nnonsense\nversion 3");
        ADD_FAILURE() << "nothing was thrown";
    } catch (const std::runtime_error& error) {
        EXPECT_THAT(error.what(), HasSubstr("Line 3"));
    }
}

// The example of the double's README.
TEST(ScriptedDouble, HoldsACallUpUntilItsGateIsOpened) {
    const support::Watchdog watchdog;
    ScriptedLibrary library("models OpenVINO m\nfail hvqInfer 3 \"out of memory\"");  // copies, loads, sets the script
    PluginEngine engine;
    engine.Create(library.Path(), nullptr, nullptr);
    engine.CreateNetwork("OpenVINO", "n", "CPU", "m", {});

    library.Add("gate hvqInfer next held");  // from now on
    std::thread caller([&engine] { engine.Infer(); });
    EXPECT_TRUE(library.AwaitGate("held"));  // the call is inside the library
    library.OpenGate("held");
    caller.join();

    EXPECT_THAT(library.CallTexts(), Contains("hvqInfer 2"));  // engine 1 was asked for its version alone
}

TEST(ScriptedDouble, HoldsCallsUpForAtLeastTheTimeThatItWasTold) {
    Facade facade("delay hvqInfer 1 50");
    facade.CreateWithNetwork();
    const auto start = std::chrono::steady_clock::now();

    facade.engine.Infer();

    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(50));
}

TEST(ScriptedDouble, KeepsPendingTextsOfEnginesApart) {
    Facade facade;
    facade.CreateWithNetwork();
    PluginEngine other(facade.Seams());
    other.Create(facade.library.Path(), nullptr, nullptr);
    const auto infer = reinterpret_cast<void (*)(void*)>(facade.library.Symbol("hvqInfer"));
    ASSERT_NE(infer, nullptr);
    facade.library.Add("fail hvqInfer next broken");

    EXPECT_THROW(facade.engine.Infer(), std::runtime_error);
    EXPECT_NO_THROW(other.CheckException());
}

TEST(ScriptedDouble, AnswersForAFailedCreationOnItsOwnThreadOnly) {
    const ScriptedLibrary library("fail hvqCreateWithLibraryLoader 1 broken");
    const auto create = reinterpret_cast<void* (*)(void*, void*)>(library.Symbol("hvqCreateWithLibraryLoader"));
    const auto hasException = reinterpret_cast<std::uint8_t (*)(void*)>(library.Symbol("hvqHasException"));
    const auto reset = reinterpret_cast<void (*)(void*)>(library.Symbol("hvqResetExceptionString"));

    EXPECT_EQ(create(nullptr, nullptr), nullptr);

    EXPECT_EQ(hasException(nullptr), 1);
    std::uint8_t elsewhere = 1;
    std::thread([&] { elsewhere = hasException(nullptr); }).join();
    EXPECT_EQ(elsewhere, 0);
    reset(nullptr);
    EXPECT_EQ(hasException(nullptr), 0);
}

TEST(ScriptedDouble, AnswersForTheLatestCreationOfAThread) {
    const ScriptedLibrary library(
        "fail hvqCreateWithLibraryLoader 1 first\nfail hvqCreateWithLibraryLoader 2 second\n"
        "null hvqCreateWithLibraryLoader 3");
    const auto create = reinterpret_cast<void* (*)(void*, void*)>(library.Symbol("hvqCreateWithLibraryLoader"));
    const auto hasException = reinterpret_cast<std::uint8_t (*)(void*)>(library.Symbol("hvqHasException"));
    const auto text = reinterpret_cast<void (*)(void*, char*)>(library.Symbol("hvqGetExceptionString"));

    (void)create(nullptr, nullptr);
    (void)create(nullptr, nullptr);

    char buffer[16] = {};
    text(nullptr, buffer);
    EXPECT_STREQ(buffer, "second");
    (void)create(nullptr, nullptr);
    EXPECT_EQ(hasException(nullptr), 0) << "the third failed without a text";
}

TEST(ScriptedDouble, ExportsItsControlsAndNoMore) {
    const ScriptedLibrary library;

    EXPECT_NE(library.Symbol("hvqDoubleScript"), nullptr);
    EXPECT_NE(library.Symbol("hvqDoubleEngines"), nullptr);
    EXPECT_EQ(library.Symbol("hvqDoubleNothing"), nullptr);
    EXPECT_EQ(library.Symbol("_ZN10hvq_double7Library8InstanceEv"), nullptr);
}

TEST(ScriptedDouble, LacksWhatItsVariantsLack) {
    struct Case {
        Variant variant;
        std::vector<std::string> lacks;
    };
    for (const Case& one : {Case{Variant::WithoutLogCallback, {"hvqSetLogCallback"}},
                            Case{Variant::WithoutLayerPrecision, {"hvqGetLayerPrecision"}},
                            Case{Variant::WithoutOptional, {"hvqGetLayerPrecision", "hvqSetLogCallback"}},
                            Case{Variant::WithoutVersion, {"hvqVersion"}}, Case{Variant::WithoutInfer, {"hvqInfer"}}}) {
        const ScriptedLibrary library({}, one.variant);
        std::vector<std::string> lacks;
        for (const std::string name : {
#include "exported_names.inc"
             }) {
            if (library.Symbol(name.c_str()) == nullptr) lacks.push_back(name);
        }
        EXPECT_THAT(lacks, testing::UnorderedElementsAreArray(one.lacks));
    }
}

TEST(ScriptedDouble, KeepsCopiesApart) {
    Facade one("version one");
    Facade two("version two");
    one.Create();
    two.Create();

    EXPECT_EQ(one.engine.GetSelfVersion(), "one");
    EXPECT_EQ(two.engine.GetSelfVersion(), "two");
}

// As another process uses it: without a word to the library, by files beside it.
TEST(ScriptedDoubleFiles, SayWhatToDoAndWhatWasDone) {
    const ScratchLibrary scratch;
    scratch.Put("hvq.script", "version \"from a file\"\nrecord calls.txt\nmodels OpenVINO m\n");
    support::RecordingStreams streams;
    {
        PluginEngine engine({.streams = streams});
        engine.Create(scratch.Path(), nullptr, nullptr);
        EXPECT_EQ(engine.GetSelfVersion(), "from a file");
    }

    const std::string calls = TextOf(scratch.Folder() / "calls.txt");
    EXPECT_THAT(calls, testing::StartsWith("0 loaded\n1 hvqCreateWithLibraryLoader null null\n"
                                           "1 hvqSelfVersion 1 set null\n1 hvqSelfVersion 1 null set\n"
                                           "1 hvqDestory 1\n0 unloaded\n0 loaded\n"));
    EXPECT_THAT(calls, testing::EndsWith("1 hvqDestory 1\n0 unloaded\n"));
}

TEST(ScriptedDoubleFiles, CountCallsOnOverLoadsThroughTheRecord) {
    const ScratchLibrary scratch;
    scratch.Put("hvq.script", "record calls.txt\nnull hvqCreateWithLibraryLoader 2\n");
    {
        PluginEngine engine;
        engine.Create(scratch.Path(), nullptr, nullptr);  // the third creation is the one that counts
    }

    const std::string calls = TextOf(scratch.Folder() / "calls.txt");
    std::size_t creations = 0;
    for (std::size_t at = 0; (at = calls.find("hvqCreateWithLibraryLoader", at)) != std::string::npos; ++at)
        ++creations;
    EXPECT_EQ(creations, 3u);
}

TEST(ScriptedDoubleFiles, OpenGates) {
    const support::Watchdog watchdog;
    const ScratchLibrary scratch;
    scratch.Put("hvq.script", "gate hvqCreateWithLibraryLoader 1 start");
    PluginEngine engine;
    std::thread creator([&] { engine.Create(scratch.Path(), nullptr, nullptr); });

    scratch.Put("start.open", "");

    creator.join();
    EXPECT_NO_THROW(engine.CheckEngine("OpenVINO"));
}

TEST(ScriptedDoubleFiles, KeepEnginesFromBeingMadeWhenTheyAreNotUnderstood) {
    const ScratchLibrary scratch;
    scratch.Put("hvq.script", "version 1\nnonsense\n");
    PluginEngine engine;

    EXPECT_EQ(TextThrownBy([&] { engine.Create(scratch.Path(), nullptr, nullptr); }),
              "Create hvq engine failed, please check!");
}

}  // namespace
}  // namespace facade_tests
