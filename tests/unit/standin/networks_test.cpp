#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "standin_support/test_engine.h"

namespace standin_support {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

class Networks : public testing::Test {
 protected:
    const HvqLibrary& hvq = Library();
    TestEngine engine;
    HvqEngine e = engine.Handle();
    TemporaryFolder folder;

    std::vector<std::string> Ids() {
        std::vector<std::string> ids;
        for (std::int32_t i = 0; i < hvq.hvqGetCreatedNetworkIdentifiersNumber(e); ++i) {
            ids.push_back(TwoSteps(hvq.hvqGetCreatedNetworkIdentifierLength(e, i),
                                   [&](char* text) { hvq.hvqGetCreatedNetworkIdentifier(e, i, text); }));
        }
        return ids;
    }

    std::string Current() {
        return TwoSteps(hvq.hvqGetCurrentIdentifierLength(e),
                        [&](char* text) { hvq.hvqGetCurrentIdentifier(e, text); });
    }

    // Makes a network of a file with this content; returns the error.
    std::string ErrorOf(const std::string& content) {
        const std::filesystem::path file = folder.Path() / "bad.onnx";
        WriteText(file, content);
        hvq.hvqCreateNetByFiles(e, kEngine, "bad", "CPU", NarrowName(file).c_str(), nullptr);
        return engine.TakeError();
    }
};

TEST_F(Networks, AreMadeOfARegisteredModelAndForgetIt) {
    hvq.hvqRegisterModelAsInnerIDwithString(e, "m", NarrowName(NetworkFile("family0_256x144")).c_str());
    hvq.hvqCreateNetByBuiltin(e, kEngine, "n", "AUTO", "m");
    EXPECT_EQ(engine.TakeError(), "");
    hvq.hvqUnregisterInnerID(e, "m");

    EXPECT_THAT(Ids(), ElementsAre("n"));
    EXPECT_EQ(Current(), "n");
    EXPECT_THAT(engine.Dims("input"), ElementsAre(1, 4, 144, 256));
    EXPECT_EQ(engine.TakeError(), "");
}

TEST_F(Networks, TellTheDeviceThatIsInUse) {
    hvq.hvqCreateNetByFiles(e, kEngine, "a", "AUTO", NarrowName(NetworkFile("kinds")).c_str(), "");
    hvq.hvqCreateNetByFiles(e, kEngine, "c", "CPU", NarrowName(NetworkFile("gather")).c_str(), nullptr);

    for (const char* const id : {"a", "c"}) {
        EXPECT_EQ(
            TwoSteps(hvq.hvqGetNetworkDeviceLength(e, id), [&](char* text) { hvq.hvqGetNetworkDevice(e, id, text); }),
            "CPU");
        EXPECT_EQ(
            TwoSteps(hvq.hvqGetNetworkEngineLength(e, id), [&](char* text) { hvq.hvqGetNetworkEngine(e, id, text); }),
            "OpenVINO");
        hvq.hvqSwitchNetwork(e, id);
        EXPECT_EQ(TwoSteps(hvq.hvqGetCurrentNetworkDeviceLength(e),
                           [&](char* text) { hvq.hvqGetCurrentNetworkDevice(e, text); }),
                  "CPU");
        EXPECT_EQ(TwoSteps(hvq.hvqGetCurrentEngineLength(e), [&](char* text) { hvq.hvqGetCurrentEngine(e, text); }),
                  "OpenVINO");
    }
    EXPECT_EQ(engine.TakeError(), "");
}

TEST_F(Networks, AreMadeOfAWideFileName) {
    const std::filesystem::path file = folder.Path() / std::filesystem::path(u8"Gesicht \u00E4\u4E2D.onnx");
    std::filesystem::copy_file(NetworkFile("kinds"), file);

    hvq.hvqCreateNetByFilesWithWstring(e, L"OpenVINO", L"n\x00FC", L"CPU", WideName(file).c_str(), nullptr);

    EXPECT_EQ(engine.TakeError(), "");
    EXPECT_THAT(Ids(), ElementsAre("n\xC3\xBC"));
}

TEST_F(Networks, AreMadeOfAUtf8FileName) {
    const std::filesystem::path file = folder.Path() / std::filesystem::path(u8"Gesicht \u00E4\u4E2D.onnx");
    std::filesystem::copy_file(NetworkFile("kinds"), file);

    hvq.hvqCreateNetByFiles(e, kEngine, "n", "CPU", NarrowName(file).c_str(), nullptr);

    EXPECT_EQ(engine.TakeError(), "");
}

TEST_F(Networks, AreMadeOfABufferThatCanGo) {
    {
        std::string bytes = ReadText(NetworkFile("gather"));
        hvq.hvqCreateNetByBuffers(e, kEngine, "n", "CPU", bytes.data(), bytes.size(), nullptr, 0);
        bytes.assign(bytes.size(), 'x');
    }
    ASSERT_EQ(engine.TakeError(), "");
    const std::int64_t index = 2;
    engine.SetLayer("index", &index);
    hvq.hvqInfer(e);

    EXPECT_EQ(engine.TakeError(), "");
    EXPECT_EQ(*engine.Floats("value"), 30.0f);
}

TEST_F(Networks, RefuseWeightsOnTheirOwn) {
    const std::string file = NarrowName(NetworkFile("gather"));
    hvq.hvqCreateNetByFiles(e, kEngine, "n", "CPU", file.c_str(), file.c_str());
    EXPECT_THAT(engine.TakeError(), HasSubstr("weights are given on their own"));
    hvq.hvqCreateNetByFilesWithWstring(e, L"OpenVINO", L"n", L"CPU", L"a", L"b");
    EXPECT_THAT(engine.TakeError(), HasSubstr("weights are given on their own"));
    hvq.hvqCreateNetByBuffers(e, kEngine, "n", "CPU", file.data(), file.size(), file.data(), file.size());
    EXPECT_THAT(engine.TakeError(), HasSubstr("weights are given on their own"));
}

TEST_F(Networks, AreSwitchedAndRemoved) {
    engine.CreateNetwork("family0_256x144");
    engine.CreateNetwork("family2_640x360");
    engine.CreateNetwork("kinds");
    EXPECT_THAT(Ids(), ElementsAre("family0_256x144", "family2_640x360", "kinds"));
    EXPECT_EQ(Current(), "kinds");

    hvq.hvqSwitchNetwork(e, "family2_640x360");
    EXPECT_EQ(Current(), "family2_640x360");
    EXPECT_THAT(engine.Dims("input"), ElementsAre(1, 4, 360, 640));

    hvq.hvqRemoveNetwork(e, "kinds");
    EXPECT_EQ(Current(), "family2_640x360");
    hvq.hvqRemoveNetwork(e, "family2_640x360");
    EXPECT_THAT(Ids(), ElementsAre("family0_256x144"));
    EXPECT_EQ(engine.TakeError(), "");
    EXPECT_EQ(hvq.hvqGetCurrentIdentifierLength(e), 0);
    EXPECT_EQ(engine.TakeError(), "hvqGetCurrentIdentifierLength: there is no current network");

    hvq.hvqSwitchNetwork(e, "family0_256x144");
    EXPECT_EQ(Current(), "family0_256x144");
    engine.CreateNetwork("kinds");  // the id is free again
    EXPECT_EQ(engine.TakeError(), "");
}

TEST_F(Networks, KeepTheirResultsWhileAnotherOneRuns) {
    const std::int64_t index = 1;
    engine.CreateNetwork("gather");
    engine.SetLayer("index", &index);
    hvq.hvqInfer(e);
    engine.CreateNetwork("family2_256x144");
    const std::vector<float> planes = Planes(256, 144);
    engine.SetLayer("input", planes.data());
    hvq.hvqInfer(e);

    hvq.hvqSwitchNetwork(e, "gather");

    EXPECT_EQ(*engine.Floats("value"), 20.0f);
    EXPECT_EQ(engine.TakeError(), "");
}

TEST_F(Networks, RefuseWhatThereIsNot) {
    const std::string file = NarrowName(NetworkFile("kinds"));
    hvq.hvqCreateNetByFiles(e, "TensorRT", "n", "CPU", file.c_str(), nullptr);
    EXPECT_EQ(engine.TakeError(), "hvqCreateNetByFiles: there is no engine TensorRT, only OpenVINO");
    hvq.hvqCreateNetByFiles(e, kEngine, "n", "GPU", file.c_str(), nullptr);
    EXPECT_EQ(engine.TakeError(), "hvqCreateNetByFiles: engine OpenVINO has no device GPU, only AUTO CPU");
    hvq.hvqCreateNetByFiles(e, kEngine, "", "CPU", file.c_str(), nullptr);
    EXPECT_EQ(engine.TakeError(), "hvqCreateNetByFiles: the network id is empty");
    hvq.hvqCreateNetByBuiltin(e, kEngine, "n", "CPU", "m");
    EXPECT_EQ(engine.TakeError(), "hvqCreateNetByBuiltin: no model is registered as m");
    hvq.hvqSwitchNetwork(e, "n");
    EXPECT_EQ(engine.TakeError(), "hvqSwitchNetwork: there is no network n");
    EXPECT_EQ(hvq.hvqGetNetworkDeviceLength(e, "n"), 0);
    EXPECT_EQ(engine.TakeError(), "hvqGetNetworkDeviceLength: there is no network n");
    EXPECT_THAT(Ids(), IsEmpty());
}

TEST_F(Networks, RefuseAnIdThatIsTakenAndKeepTheCurrentOne) {
    engine.CreateNetwork("kinds");
    engine.CreateNetwork("kinds");

    EXPECT_EQ(engine.TakeError(), "hvqCreateNetByFiles: there is a network kinds already");
    EXPECT_EQ(Current(), "kinds");
    (void)ErrorOf("nonsense");
    EXPECT_EQ(Current(), "kinds");
}

TEST_F(Networks, NameAFileThatIsMissingOrEmptyOrAFolder) {
    const std::string missing = NarrowName(folder.Path() / "none.onnx");
    hvq.hvqCreateNetByFiles(e, kEngine, "n", "CPU", missing.c_str(), nullptr);
    EXPECT_EQ(engine.TakeError(), "hvqCreateNetByFiles: " + missing + ": there is no such file");

    hvq.hvqCreateNetByFiles(e, kEngine, "n", "CPU", NarrowName(folder.Path()).c_str(), nullptr);
    EXPECT_EQ(engine.TakeError(), "hvqCreateNetByFiles: " + NarrowName(folder.Path()) + ": it is a folder");

    EXPECT_EQ(ErrorOf(""), "hvqCreateNetByFiles: " + NarrowName(folder.Path() / "bad.onnx") + ": it is empty");
    hvq.hvqCreateNetByBuffers(e, kEngine, "n", "CPU", "", 0, nullptr, 0);
    EXPECT_EQ(engine.TakeError(), "hvqCreateNetByBuffers: the buffer of network n: it is empty");
}

TEST_F(Networks, NameAFileThatWentAfterItsRegistration) {
    const std::filesystem::path file = folder.Path() / "short-lived.onnx";
    std::filesystem::copy_file(NetworkFile("kinds"), file);
    hvq.hvqRegisterModelAsInnerIDwithString(e, "m", NarrowName(file).c_str());
    std::filesystem::remove(file);

    hvq.hvqCreateNetByBuiltin(e, kEngine, "n", "CPU", "m");

    EXPECT_EQ(engine.TakeError(), "hvqCreateNetByBuiltin: " + NarrowName(file) + ": there is no such file");
}

TEST_F(Networks, NameAFileThatIsNoNetwork) {
    const std::string whole = ReadText(NetworkFile("family1_256x144"));
    const auto refusal = AllOf(StartsWith("hvqCreateNetByFiles: " + NarrowName(folder.Path() / "bad.onnx") + ": "),
                               HasSubstr("it is no network that can run here: "));

    EXPECT_THAT(ErrorOf("A text that says nothing of networks.\n"), refusal);
    EXPECT_THAT(ErrorOf(std::string(1000, '\0')), refusal);
    EXPECT_THAT(ErrorOf("MZ" + std::string(100, '\x90')), refusal);
    EXPECT_THAT(ErrorOf(whole.substr(0, whole.size() / 2)), refusal);
    EXPECT_THAT(ErrorOf(whole.substr(0, whole.size() - 1)), refusal);
    EXPECT_THAT(ErrorOf(whole.substr(1)), refusal);
    EXPECT_EQ(ErrorOf(whole), "");  // so it was the damage
}

TEST_F(Networks, AreRefusedWithoutFixedSizes) {
    engine.CreateNetwork("open");

    EXPECT_EQ(engine.TakeError(), "hvqCreateNetByFiles: " + NarrowName(NetworkFile("open")) +
                                      ": layer input has no fixed size in dimension 2; all sizes have to be fixed");
}

TEST_F(Networks, AreRefusedWithLayersThatAreNoNumbers) {
    engine.CreateNetwork("texts");

    EXPECT_EQ(engine.TakeError(), "hvqCreateNetByFiles: " + NarrowName(NetworkFile("texts")) +
                                      ": layer input holds elements of a type that can't be handed over");
}

}  // namespace
}  // namespace standin_support
