// Each point of the check, on the scripted library as a really loaded one.

#include "velmo_tool/check/library_checks.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "scripted_double/scripted_library.h"
#include "velmo_tool/check/check_report.h"
#include "velmo_tool/path_text.h"

namespace velmo_tool {
namespace {

using scripted_double::ScriptedLibrary;
using scripted_double::Variant;
using testing::AllOf;
using testing::Contains;
using testing::Field;
using testing::HasSubstr;
using testing::Not;

class Recorder final : public CheckListener {
 public:
    void OnBegin(const std::string& name, Need need) override {
        begun = name;
        begunNeed = need;
    }
    void OnPoint(const CheckPoint& point) override {
        EXPECT_EQ(point.name, begun) << "a point that was not begun";
        EXPECT_EQ(point.need, begunNeed);
        report.points.push_back(point);
    }

    CheckReport report;
    std::string begun;
    Need begunNeed = Need::Required;
};

CheckReport Check(const std::string& libraryPath, const std::string& modelPath = "") {
    Recorder recorder;
    CheckRequest request;
    request.libraryPath = libraryPath;
    request.modelPath = modelPath;
    CheckLibrary(request, recorder);
    return recorder.report;
}

CheckReport CheckScripted(std::string_view script, bool withModel = true, Variant variant = Variant::Whole) {
    const ScriptedLibrary library(script, variant);
    const std::string model = withModel ? PathToUtf8(library.Scratch().Put("model.onnx", "a model")) : "";
    return Check(PathToUtf8(library.Path()), model);
}

testing::Matcher<const CheckPoint&> Point(const std::string& name, Need need, Verdict verdict,
                                          const std::string& detail) {
    return AllOf(Field("name", &CheckPoint::name, name), Field("need", &CheckPoint::need, need),
                 Field("verdict", &CheckPoint::verdict, verdict),
                 Field("detail", &CheckPoint::detail, HasSubstr(detail)));
}

testing::Matcher<const CheckPoint&> Fails(const std::string& name, const std::string& detail) {
    return Point(name, Need::Required, Verdict::Fails, detail);
}

testing::Matcher<const CheckPoint&> Lacks(const std::string& name, const std::string& detail = "") {
    return Point(name, Need::Optional, Verdict::Fails, detail);
}

std::vector<std::string> Names(const CheckReport& report) {
    std::vector<std::string> names;
    for (const CheckPoint& point : report.points)
        names.push_back(point.name);
    return names;
}

TEST(LibraryChecks, AllHoldOnALibraryThatKeepsTheContract) {
    const ScriptedLibrary library("devices OpenVINO AUTO CPU GPU NPU");
    const std::string model = PathToUtf8(library.Scratch().Put("model.onnx", "a model"));

    const CheckReport report = Check(PathToUtf8(library.Path()), model);

    for (const CheckPoint& point : report.points)
        EXPECT_EQ(point.verdict, Verdict::Holds) << point.name << ": " << point.detail;
    EXPECT_TRUE(report.Good());
    EXPECT_THAT(Names(report), AllOf(Contains("infers again and again"), Contains("unloads")));
    EXPECT_EQ(library.LiveEngines(), 0u);
}

TEST(LibraryChecks, CallNoFunctionThatTheProcessDoesNotCall) {
    const ScriptedLibrary library;
    (void)Check(PathToUtf8(library.Path()), PathToUtf8(library.Scratch().Put("model.onnx", "a model")));
    for (const char* const name : {"hvqCreate", "hvqVersion", "hvqRemoveNetwork", "hvqSwitchNetwork",
                                   "hvqGetInputLayerNumber", "hvqGetLayerPrecision", "hvqSetLogCallback"})
        EXPECT_EQ(library.Count(name), 0) << name;
}

TEST(LibraryChecks, WithoutAModelEndBeforeAnyNetwork) {
    const CheckReport report = CheckScripted("", false);
    EXPECT_TRUE(report.Good());
    EXPECT_THAT(Names(report), Not(Contains("registers the model")));
}

TEST(LibraryChecks, SayWhyAFileIsNoLibrary) {
    const ScriptedLibrary library;
    const std::string missing = PathToUtf8(library.Scratch().Folder() / "missing.dll");
    EXPECT_THAT(Check(missing).points,
                testing::ElementsAre(Fails("is a library that this system loads", missing + " not exists.")));
    const std::string text = PathToUtf8(library.Scratch().Put("text.dll", "no library at all"));
    EXPECT_THAT(Check(text).points, testing::ElementsAre(Fails("is a library that this system loads",
                                                               "file is not a valid DLL. load_shared_object failed.")));
}

TEST(LibraryChecks, NameEveryMissingExportAndStop) {
    const CheckReport report = CheckScripted("", true, Variant::WithoutVersion);
    EXPECT_THAT(report.points, Contains(Fails("exports the 58 names", "lacks hvqVersion")));
    EXPECT_THAT(Names(report), Not(Contains("creates an engine for two null pointers")));
    EXPECT_THAT(CheckScripted("", true, Variant::WithoutInfer).points,
                Contains(Fails("exports the 58 names", "lacks hvqInfer")));
}

TEST(LibraryChecks, GoOnWithoutTheTwoOptionalExports) {
    const CheckReport report = CheckScripted("", true, Variant::WithoutOptional);
    EXPECT_THAT(report.points, Contains(Lacks("exports hvqGetLayerPrecision")));
    EXPECT_THAT(report.points, Contains(Lacks("exports hvqSetLogCallback")));
    EXPECT_TRUE(report.Good());
}

TEST(LibraryChecks, StopWithoutAnEngineAndTellTheLibrarysReason) {
    const CheckReport report = CheckScripted("fail hvqCreateWithLibraryLoader * \"out of licences\"");
    EXPECT_THAT(report.points, Contains(Fails("creates an engine for two null pointers", "out of licences")));
    EXPECT_THAT(Names(report), Not(Contains("tells its version")));
}

TEST(LibraryChecks, ToleratesAnotherVersion) {
    const CheckReport report = CheckScripted("version \"2026.03.18-1bca487a(x64) \"");
    EXPECT_THAT(report.points,
                Contains(Lacks("has the version that the process was built for", "the process expects")));
    EXPECT_TRUE(report.Good());
}

TEST(LibraryChecks, TellALengthThatCountsTheTerminator) {
    EXPECT_THAT(CheckScripted("answer hvqGetSupportEngineLength * 9").points,
                Contains(Fails("lists its engines", "counts the terminator")));
}

TEST(LibraryChecks, TellNegativeAndAbsurdLengthsAndNumbers) {
    EXPECT_THAT(CheckScripted("answer hvqGetSupportDeviceLength * -1").points,
                Contains(Fails("lists its devices", "a length of -1 can't be")));
    EXPECT_THAT(CheckScripted("answer hvqGetSupportEngineNumber * 2000000000").points,
                Contains(Fails("lists its engines", "a number of 2000000000 can't be")));
    EXPECT_THAT(CheckScripted("answer hvqGetSupportEngineNumber * -3").points,
                Contains(Fails("lists its engines", "a number of -3")));
}

TEST(LibraryChecks, WantTheEngineThatTheProcessAsksFor) {
    EXPECT_THAT(CheckScripted("engines Other Another").points,
                Contains(Fails("offers the engine OpenVINO", "offers Other, Another")));
}

TEST(LibraryChecks, TellAPropertyOfAnotherType) {
    const CheckReport report = CheckScripted("properties OpenVINO CACHE_DIR std::string");
    EXPECT_THAT(report.points, Contains(Lacks("offers the property CACHE_DIR", "its type is std::string")));
    EXPECT_THAT(report.points, Contains(Lacks("offers the property INFERENCE_THREADS_NUMBER", "goes on without")));
    EXPECT_TRUE(report.Good());
}

TEST(LibraryChecks, TellAnErrorWhereThereShouldBeNone) {
    EXPECT_THAT(CheckScripted("fail hvqGetEngineMutableProperties 1 \"no properties today\"").points,
                Contains(Fails("lists its settable properties", "no properties today")));
    EXPECT_THAT(CheckScripted("fail hvqRegisterModelAsInnerIDwithString * \"bad file\"").points,
                Contains(Fails("registers the model", "bad file")));
    EXPECT_THAT(CheckScripted("fail hvqInfer 5 \"lost the device\"").points,
                Contains(Fails("infers again and again", "lost the device")));
}

TEST(LibraryChecks, TellAnInputThatTheProcessCannotUse) {
    EXPECT_THAT(CheckScripted("layer input input 4 144 256").points,
                Contains(Fails("has an input of batch, channels, height, width", "4 x 144 x 256")));
    EXPECT_THAT(CheckScripted("layer input input 1 4 100 100").points,
                Contains(Fails("has an input of 256 x 144 or 640 x 360", "1 x 4 x 100 x 100")));
}

TEST(LibraryChecks, WantAMaskAndTolerateOddValuesInIt) {
    EXPECT_THAT(CheckScripted("no-layer segmentation").points,
                Contains(Fails("gives the mask", "no layer segmentation")));
    const CheckReport odd = CheckScripted("fill segmentation constant 300");
    EXPECT_THAT(odd.points, Contains(Lacks("gives mask values from 0 to 255", "36864 of 36864 are not")));
    EXPECT_TRUE(odd.Good());
}

TEST(LibraryChecks, TolerateMissingLayersOfOtherFamilies) {
    const CheckReport report = CheckScripted("no-layer lut\nno-layer lut_vertices");
    EXPECT_THAT(report.points, Contains(Lacks("gives lut", "not there")));
    EXPECT_TRUE(report.Good());
}

}  // namespace
}  // namespace velmo_tool
