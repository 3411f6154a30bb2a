#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>

#include "engine/hvq_header_version.h"
#include "facade_fixture.h"
#include "support/blind_file_views.h"

namespace facade_tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

// The other texts say which of the two ways met the failure. Nobody sees those of the narrow one.
constexpr char kNullEngine[] = "[wstring] Create hvq engine failed, please check!";

std::string CreationText(Facade& facade) {
    return TextThrownBy([&] { facade.engine.Create(facade.library.Path(), nullptr, nullptr); });
}

TEST(EngineCreation, LoadsTheLibraryTwiceAndMakesTwoEnginesOneAfterTheOther) {
    Facade facade;

    facade.engine.Create(facade.library.Path(), nullptr, nullptr);

    EXPECT_THAT(facade.loader.Loads(), ElementsAre("LoadW", "Unload", "LoadA"));
    EXPECT_THAT(facade.library.CallTexts(),
                ElementsAre("hvqCreateWithLibraryLoader null null", "hvqSelfVersion 1 set null",
                            "hvqSelfVersion 1 null set", "hvqDestory 1", "hvqCreateWithLibraryLoader null null"));
    EXPECT_EQ(facade.library.LiveEngines(), 1u);
}

TEST(EngineCreation, AsksForExceptionsOnceAndOnlyAfterTheSecondCreation) {
    Facade facade;

    facade.engine.Create(facade.library.Path(), nullptr, nullptr);

    EXPECT_EQ(facade.library.Count("hvqHasException"), 1);
    EXPECT_EQ(facade.library.Calls().back().text, "hvqHasException 2");
}

TEST(EngineCreation, HandsBothPointersToBothCreations) {
    Facade facade;
    int first = 1;

    facade.engine.Create(facade.library.Path(), &first, nullptr);

    EXPECT_EQ(facade.library.CallTexts().front(), "hvqCreateWithLibraryLoader set null");
    EXPECT_EQ(facade.library.CallTexts().back(), "hvqCreateWithLibraryLoader set null");
}

TEST(EngineCreation, RefusesAPathWhereNothingIsInQuotes) {
    hvq::inference::PluginEngine engine;

    EXPECT_EQ(TextThrownBy([&] { engine.Create("no/such.dll", nullptr, nullptr); }), "\"no/such.dll\" not exists.");
}

TEST(EngineCreation, DoublesBackslashesOfAPathWhereNothingIs) {
    hvq::inference::PluginEngine engine;

    EXPECT_EQ(TextThrownBy([&] { engine.Create("no\\such\\hvq.dll", nullptr, nullptr); }),
              "\"no\\\\such\\\\hvq.dll\" not exists.");
}

TEST(EngineCreation, RefusesTheEmptyPath) {
    hvq::inference::PluginEngine engine;

    EXPECT_EQ(TextThrownBy([&] { engine.Create("", nullptr, nullptr); }), "\"\" not exists.");
}

TEST(EngineCreation, PassesOnThatTheFileSystemCanNotTell) {
    Facade facade;
    support::BlindFileViews files;
    files.statusError = std::make_error_code(std::errc::io_error);
    hvq::inference::PluginEngine engine({.modules = facade.loader, .files = files, .streams = facade.streams});

    try {
        engine.Create(facade.library.Path(), nullptr, nullptr);
        ADD_FAILURE() << "nothing was thrown";
    } catch (const std::filesystem::filesystem_error& thrown) {
        EXPECT_THAT(thrown.what(), testing::HasSubstr("exists"));
        EXPECT_EQ(thrown.code(), std::errc::io_error);
        EXPECT_EQ(thrown.path1(), facade.library.Path());
    }
    EXPECT_THAT(facade.loader.Loads(), IsEmpty());
}

TEST(EngineCreation, RefusesAFileThatIsNoLibraryWithThePlainPath) {
    Facade facade;
    const std::filesystem::path path = facade.library.Scratch().Put("text.dll", "no library");

    EXPECT_EQ(TextThrownBy([&] { facade.engine.Create(path, nullptr, nullptr); }),
              path.string() + " file is not a valid DLL. load_shared_object failed.");
}

TEST(EngineCreation, RefusesALibraryWithoutARequiredName) {
    Facade facade({}, Variant::WithoutVersion);

    EXPECT_THAT(CreationText(facade), StartsWith("GetProcAddress cannot locate method 'hvqVersion': "));
    EXPECT_EQ(facade.library.LiveEngines(), 0u);
}

TEST(EngineCreation, RefusesALibraryThatCanNotTellItsVersionBeforeItMakesAnEngine) {
    Facade facade;
    facade.loader.Hide("hvqSelfVersion");

    EXPECT_EQ(CreationText(facade), "GetProcAddress cannot locate method 'hvqSelfVersion': 5");
    EXPECT_EQ(facade.library.Count("hvqCreateWithLibraryLoader"), 0);
    EXPECT_THAT(facade.loader.Loads(), ElementsAre("LoadW", "Unload"));
}

TEST(EngineCreation, AcceptsALibraryWithoutTheOptionalNames) {
    Facade facade({}, Variant::WithoutOptional);

    facade.Create();

    EXPECT_THAT(facade.engine.GetSupportEngines(), ElementsAre("OpenVINO"));
}

TEST(EngineCreation, IsSilentAboutTheVersionThatItWasBuiltAgainst) {
    Facade facade("version \"2026.03.18-1bca487a(x64)\"");

    facade.Create();

    EXPECT_EQ(facade.streams.Error(), "");
    EXPECT_STREQ(hvq::inference::HVQ_HEADER_VERSION, "2026.03.18-1bca487a(x64)");
}

TEST(EngineCreation, WarnsOnceOfAVersionThatDiffersByATrailingBlank) {
    Facade facade("version \"2026.03.18-1bca487a(x64) \"");

    facade.Create();

    EXPECT_EQ(
        facade.streams.Error(),
        "[HVQ Warning] Program build with HVQ header version(2026.03.18-1bca487a(x64)), not match current use HVQ "
        "dynamic library version(2026.03.18-1bca487a(x64) ). If init() there have any issue, please make two "
        "versions same first.\n\n");
    EXPECT_EQ(facade.engine.GetSelfVersion(), "2026.03.18-1bca487a(x64) ");
}

TEST(EngineCreation, WarnsOfALibraryWithoutAVersion) {
    Facade facade("version \"\"");

    facade.Create();

    EXPECT_THAT(facade.streams.Error(), testing::HasSubstr("dynamic library version(). If init()"));
}

TEST(EngineCreation, WarnsBeforeItLoadsForGood) {
    Facade facade("version other\nnull hvqCreateWithLibraryLoader 2+");

    EXPECT_EQ(CreationText(facade), kNullEngine);
    EXPECT_THAT(facade.streams.Error(), StartsWith("[HVQ Warning]"));
}

// Once for each of its two loads, and once more for each load that was in vain.
TEST(EngineCreation, WarnsOfAnotherArchitectureWithEachLoad) {
    const auto warnings = [](bool narrowLoads) {
        Facade facade;
        facade.loader.SetNativeArchitecture(platform::kArchitectureIa64);
        if (!narrowLoads) facade.loader.RefuseNarrowLoads();
        facade.engine.Create(facade.library.Path(), nullptr, nullptr);
        const std::string text = facade.streams.Error();
        int count = 0;
        for (std::size_t at = 0; (at = text.find("Windows OS architecture is WIN-IA64.", at)) != std::string::npos;
             ++at)
            ++count;
        return count;
    };
    EXPECT_EQ(warnings(true), 2);
    EXPECT_EQ(warnings(false), 3);
}

TEST(EngineCreation, TakesTheWidePathWhenTheNarrowOneCanNotBeLoaded) {
    Facade facade;
    facade.loader.RefuseNarrowLoads();

    facade.engine.Create(facade.library.Path(), nullptr, nullptr);

    EXPECT_THAT(facade.loader.Loads(), ElementsAre("LoadW", "Unload", "LoadA", "LoadW"));
    EXPECT_THAT(facade.streams.Texts(platform::StandardStream::Error), IsEmpty());
    EXPECT_THAT(facade.streams.Texts(platform::StandardStream::Output), IsEmpty());
    EXPECT_THAT(facade.engine.GetSupportEngines(), ElementsAre("OpenVINO"));
}

TEST(EngineCreation, TakesTheWidePathAfterAnyOtherFailureToo) {
    Facade facade("fail hvqCreateWithLibraryLoader 2 \"not now\"");

    facade.engine.Create(facade.library.Path(), nullptr, nullptr);

    EXPECT_EQ(facade.library.Count("hvqCreateWithLibraryLoader"), 3);
    EXPECT_EQ(facade.library.LiveEngines(), 1u);
    EXPECT_THAT(facade.loader.Loads(), ElementsAre("LoadW", "Unload", "LoadA", "LoadW", "Unload"))
        << "the first attempt's library goes when the second has made its engine";
}

TEST(EngineCreation, ReadsTheFailureOfACreationForTheNullEngine) {
    Facade facade("fail hvqCreateWithLibraryLoader 2+ \"no licence\"");

    EXPECT_EQ(CreationText(facade), "no licence");
    EXPECT_EQ(facade.library.CallTexts().back(), "hvqResetExceptionString null");
    EXPECT_EQ(facade.library.LiveEngines(), 0u);
}

TEST(EngineCreation, ReportsANullEngineWithoutATextInItsOwnWords) {
    Facade facade("null hvqCreateWithLibraryLoader 2+");

    EXPECT_EQ(CreationText(facade), kNullEngine);
    EXPECT_EQ(facade.library.Count("hvqDestory"), 1) << "of the engine that told the version; the null is left alone";
}

TEST(EngineCreation, DestroysANullEngineOfTheVersionProbe) {
    Facade facade("null hvqCreateWithLibraryLoader 1");

    EXPECT_EQ(CreationText(facade), "Create hvq engine failed, please check!");
    EXPECT_THAT(facade.library.CallTexts(), ElementsAre("hvqCreateWithLibraryLoader null null", "hvqDestory null"));
    EXPECT_THAT(facade.loader.Loads(), ElementsAre("LoadW", "Unload"));
}

TEST(EngineCreation, ReportsAFailureOfTheVersionProbesCreationInItsOwnWords) {
    Facade facade("fail hvqCreateWithLibraryLoader 1 \"no licence\"");

    EXPECT_EQ(CreationText(facade), "Create hvq engine failed, please check!");
    EXPECT_EQ(facade.library.Count("hvqHasException"), 0);
}

TEST(EngineCreation, AsksNobodyWhetherTheVersionCouldBeRead) {
    Facade facade("fail hvqSelfVersion * \"no version\"");

    facade.engine.Create(facade.library.Path(), nullptr, nullptr);

    EXPECT_THAT(facade.streams.Error(), testing::HasSubstr("dynamic library version()")) << "the length stayed 0";
}

TEST(EngineCreation, RefusesAVersionOfAnAbsurdLength) {
    for (const char* length : {"-1", "9000000000000000000", "1099511627776"}) {
        Facade facade(std::string("answer hvqSelfVersion 1 ") + length);
        try {
            facade.engine.Create(facade.library.Path(), nullptr, nullptr);
            ADD_FAILURE() << "nothing was thrown";
        } catch (const std::length_error& error) {
            EXPECT_STREQ(error.what(), "string too long");
        }
        EXPECT_EQ(facade.library.LiveEngines(), 0u);
    }
}

TEST(EngineCreation, TakesANameThatOnlyTheWideWayKnows) {
    // No single-byte code page has both of these letters.
    const std::filesystem::path name(u8"hvq-\u043a\u6f22.dll");
    const ScriptedLibrary library({}, Variant::Whole, name);
    hvq::inference::PluginEngine engine;

    engine.Create(library.Path(), nullptr, nullptr);

    EXPECT_THAT(engine.GetSupportEngines(), ElementsAre("OpenVINO"));
}

TEST(EngineCreation, CanBeRepeated) {
    Facade facade;
    facade.Create();

    facade.engine.Create(facade.library.Path(), nullptr, nullptr);

    EXPECT_EQ(facade.library.LiveEngines(), 1u);
    EXPECT_EQ(facade.library.CallTexts().back(), "hvqDestory 2")
        << "the earlier engine goes when the next one is there";
}

}  // namespace
}  // namespace facade_tests
