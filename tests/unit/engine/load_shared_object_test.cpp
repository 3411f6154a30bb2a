#include <gmock/gmock.h>

#include <memory>
#include <string>

#include "engine/shared_library.h"
#include "faked_system.h"
#include "images.h"
#include "thrown_text.h"

namespace {

using hvq::util::load_shared_object;
using support::FileStep;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// One library in the current folder, by the name "hvq.dll".
struct SystemWithLibrary : FakedSystem {
    explicit SystemWithLibrary(const std::string& image = images::Pe()) {
        files.Put(L"hvq.dll", image);
        modules.Put(Path());
    }

    std::string Path() const { return Absolute("hvq.dll"); }
    auto LoadNarrow(const std::string& path = "hvq.dll") { return load_shared_object(path, Seams()); }
    auto LoadWide(const std::wstring& path = L"hvq.dll") { return load_shared_object(path, nullptr, Seams()); }
};

TEST(LoadSharedObject, LoadsByTheAbsolutePathAndTheSafeSearchOrder) {
    SystemWithLibrary system;

    const auto library = system.LoadNarrow();

    ASSERT_NE(library, nullptr);
    EXPECT_EQ(library->type, 1);
    EXPECT_NE(library->module, nullptr);
    EXPECT_EQ(system.modules.Loads(system.Path()), 1);
    EXPECT_THAT(system.modules.Calls(), ElementsAre("FullPathA 260", "LoadA 0x1100"));
    EXPECT_THAT(system.Errors(), IsEmpty());
}

TEST(LoadSharedObject, LoadsWidePathsByTheWideCalls) {
    SystemWithLibrary system;

    const auto library = system.LoadWide();

    EXPECT_EQ(library->type, 1);
    EXPECT_EQ(system.modules.Loads(system.Path()), 1);
    EXPECT_THAT(system.modules.Calls(), ElementsAre("FullPathW 260", "LoadW 0x1100"));
    EXPECT_THAT(system.Errors(), IsEmpty());
}

TEST(LoadSharedObject, JudgesTheFileAtTheGivenPathInOrder) {
    SystemWithLibrary system;

    (void)system.LoadNarrow();
    EXPECT_THAT(system.files.Steps(),
                ElementsAre(FileStep::WidePath, FileStep::Exists, FileStep::WidePath, FileStep::OpenStream,
                            FileStep::Open, FileStep::Size, FileStep::CreateMapping, FileStep::Map));

    SystemWithLibrary wide;
    (void)wide.LoadWide();
    EXPECT_THAT(wide.files.Steps(), ElementsAre(FileStep::Exists, FileStep::OpenStream, FileStep::Open, FileStep::Size,
                                                FileStep::CreateMapping, FileStep::Map));
}

TEST(LoadSharedObject, LetsTheFileGoBeforeItReturns) {
    SystemWithLibrary system;

    const auto library = system.LoadNarrow();

    EXPECT_EQ(system.files.OpenFiles(), 0);
}

TEST(LoadSharedObject, UnloadsOnceWithTheLastReference) {
    SystemWithLibrary system;
    auto library = system.LoadNarrow();
    auto another = library;

    library.reset();
    EXPECT_EQ(system.modules.Loads(system.Path()), 1);

    another.reset();
    EXPECT_EQ(system.modules.Loads(system.Path()), 0);
    EXPECT_THAT(system.modules.Calls(), ElementsAre("FullPathA 260", "LoadA 0x1100", "Unload"));
}

TEST(LoadSharedObject, UnloadsNothingForAHandleThatWasEmptied) {
    SystemWithLibrary system;
    auto library = system.LoadNarrow();
    library->module = nullptr;

    library.reset();

    EXPECT_THAT(system.modules.Calls(), ElementsAre("FullPathA 260", "LoadA 0x1100"));
}

TEST(LoadSharedObject, CountsEachLoadOfOneFileForItself) {
    SystemWithLibrary system;
    auto first = system.LoadNarrow();
    auto second = system.LoadWide();

    EXPECT_NE(first.get(), second.get());
    EXPECT_EQ(first->module, second->module);
    EXPECT_EQ(system.modules.Loads(system.Path()), 2);

    first.reset();
    EXPECT_EQ(system.modules.Loads(system.Path()), 1);
    second.reset();
    EXPECT_EQ(system.modules.Loads(system.Path()), 0);
}

TEST(LoadSharedObject, TriesTheOldSearchOrderWhenTheSafeOneIsUnknown) {
    SystemWithLibrary system;
    system.modules.FailLoads({87});

    EXPECT_NE(system.LoadNarrow()->module, nullptr);

    EXPECT_THAT(system.modules.Calls(), ElementsAre("FullPathA 260", "LoadA 0x1100", "LastError", "LoadA 8", "Unload"));
    EXPECT_THAT(system.Errors(), IsEmpty());
}

TEST(LoadSharedObject, TriesTheOldSearchOrderForWidePathsToo) {
    SystemWithLibrary system;
    system.modules.FailLoads({87});

    EXPECT_NE(system.LoadWide()->module, nullptr);

    EXPECT_THAT(system.modules.Calls(), ElementsAre("FullPathW 260", "LoadW 0x1100", "LastError", "LoadW 8", "Unload"));
    EXPECT_THAT(system.Errors(), IsEmpty());
}

TEST(LoadSharedObject, TriesOnceMoreAndNoOftener) {
    SystemWithLibrary system;
    system.modules.FailLoads({87, 87});

    EXPECT_EQ(ThrownBy([&] { return system.LoadNarrow(); }),
              "Cannot load library '" + system.Path() + "': 87 from cwd: " + system.modules.Folder());

    EXPECT_THAT(system.modules.Calls(), ElementsAre("FullPathA 260", "LoadA 0x1100", "LastError", "LoadA 8",
                                                    "CurrentDirectory 1024", "LastError"));
}

TEST(LoadSharedObject, ShowsTheErrorOfTheSecondTry) {
    SystemWithLibrary system;
    system.modules.FailLoads({87, 193});

    EXPECT_EQ(ThrownBy([&] { return system.LoadWide(); }),
              "Cannot load library 'hvq.dll': 193 from cwd: " + system.modules.Folder());
}

TEST(LoadSharedObject, DoesNotTryAgainAfterAnyOtherError) {
    for (const std::uint32_t error : {0U, 5U, 86U, 88U, 126U, 193U, 4294967295U}) {
        SystemWithLibrary system;
        system.modules.FailLoads({error});

        EXPECT_EQ(ThrownBy([&] { return system.LoadNarrow(); }), "Cannot load library '" + system.Path() +
                                                                     "': " + std::to_string(error) +
                                                                     " from cwd: " + system.modules.Folder());

        // The folder is asked for before the number that is shown.
        EXPECT_THAT(system.modules.Calls(),
                    ElementsAre("FullPathA 260", "LoadA 0x1100", "LastError", "CurrentDirectory 1024", "LastError"));
    }
}

// The two ways differ here, and both texts are known as they are.
TEST(LoadSharedObject, ShowsTheAbsolutePathForNarrowPathsAndTheGivenOneForWidePaths) {
    SystemWithLibrary system;
    system.modules.FailLoads({126, 126});

    EXPECT_THAT(ThrownBy([&] { return system.LoadNarrow(); }), HasSubstr("'" + system.Path() + "'"));
    EXPECT_THAT(ThrownBy([&] { return system.LoadWide(); }), HasSubstr("'hvq.dll'"));
}

TEST(LoadSharedObject, SaysUnknownForAFolderThatCannotBeRead) {
    SystemWithLibrary system;
    system.modules.FailLoads({126});
    system.modules.FailCurrentDirectory();

    EXPECT_EQ(ThrownBy([&] { return system.LoadWide(); }), "Cannot load library 'hvq.dll': 126 from cwd: <unknown>");
}

TEST(LoadSharedObject, ShowsACurrentFolderUpTo1023Chars) {
    SystemWithLibrary system;
    const std::string fits(1023, 'f');
    system.files.Put(L"/hvq.dll", images::Pe());
    system.modules.SetFolder(fits);
    EXPECT_EQ(ThrownBy([&] { return system.LoadWide(L"/hvq.dll"); }),
              "Cannot load library '/hvq.dll': 126 from cwd: " + fits);

    system.modules.SetFolder(fits + "f");
    EXPECT_EQ(ThrownBy([&] { return system.LoadWide(L"/hvq.dll"); }),
              "Cannot load library '/hvq.dll': 126 from cwd: <unknown>");
}

TEST(LoadSharedObject, RefusesAPathThatDoesNotExist) {
    FakedSystem system;

    EXPECT_EQ(ThrownBy([&] { return load_shared_object("some/hvq.dll", system.Seams()); }), "some/hvq.dll not exists.");
    EXPECT_EQ(ThrownBy([&] { return load_shared_object(L"gr\u00F6\u00DFe.dll", nullptr, system.Seams()); }),
              "gr\xC3\xB6\xC3\x9F"
              "e.dll not exists.");

    EXPECT_THAT(system.modules.Calls(), IsEmpty());
    EXPECT_THAT(system.Errors(), IsEmpty());
}

TEST(LoadSharedObject, RefusesAnEmptyPath) {
    FakedSystem system;

    EXPECT_EQ(ThrownBy([&] { return load_shared_object(std::string(), system.Seams()); }), " not exists.");
    EXPECT_EQ(ThrownBy([&] { return load_shared_object(std::wstring(), nullptr, system.Seams()); }), " not exists.");
}

TEST(LoadSharedObject, RefusesAFileThatIsNoLibrary) {
    for (const std::string& image : {std::string(), std::string("a text file\n"), images::Pe().substr(0, 68)}) {
        SystemWithLibrary system(image);

        EXPECT_EQ(ThrownBy([&] { return system.LoadNarrow(); }),
                  "hvq.dll file is not a valid DLL. load_shared_object failed.");
        EXPECT_EQ(ThrownBy([&] { return system.LoadWide(); }),
                  "hvq.dll file is not a valid DLL. load_shared_object failed.");

        EXPECT_THAT(system.modules.Calls(), IsEmpty());
        EXPECT_THAT(system.Errors(), IsEmpty());
    }
}

TEST(LoadSharedObject, RefusesAFileThatCannotBeOpened) {
    SystemWithLibrary system;
    system.files.FailNext(FileStep::OpenStream);

    EXPECT_EQ(ThrownBy([&] { return system.LoadNarrow(); }),
              "hvq.dll file is not a valid DLL. load_shared_object failed.");

    EXPECT_THAT(system.Errors(), ElementsAre("Failed to open file: hvq.dll\n"));
}

TEST(LoadSharedObject, RefusesAFolder) {
    FakedSystem system;
    system.files.PutFolder(L"models");

    EXPECT_EQ(ThrownBy([&] { return load_shared_object(L"models", nullptr, system.Seams()); }),
              "models file is not a valid DLL. load_shared_object failed.");

    EXPECT_THAT(system.Errors(), ElementsAre("Failed to open file: models\n"));
}

TEST(LoadSharedObject, LeavesALibraryForAnotherMachineToTheSystemAfterAWarning) {
    SystemWithLibrary system(images::Pe(0x014C));
    system.modules.FailLoads({193});

    EXPECT_EQ(ThrownBy([&] { return system.LoadNarrow(); }),
              "Cannot load library '" + system.Path() + "': 193 from cwd: " + system.modules.Folder());

    EXPECT_EQ(system.streams.Error(),
              "[HVQ Warning]: hvq.dll architecture is WIN-UNKNOWN, Windows OS architecture is WIN-AMD64. "
              "Please notice, two architectures not same.");
}

TEST(LoadSharedObject, RefusesAPathWithoutAbsoluteForm) {
    SystemWithLibrary system;
    system.modules.FailFullPath(206);
    EXPECT_EQ(ThrownBy([&] { return system.LoadNarrow(); }), "GetAbsoluteFilePath failed.");
    system.modules.FailFullPath(206);
    EXPECT_EQ(ThrownBy([&] { return system.LoadWide(); }), "GetAbsoluteFilePathW failed.");

    EXPECT_THAT(system.Errors(), ElementsAre("GetFullPathNameA failed with error code: 206\n",
                                             "GetFullPathNameW failed with error code: 206\n"));
    EXPECT_EQ(system.modules.Loads(), 0);
}

TEST(LoadSharedObject, RefusesAnAbsolutePathThatBeginsWithNulAsTheSystemWould) {
    SystemWithLibrary system;
    system.modules.AnswerFullPath({5, 5});  // nothing is written to the buffer

    const std::string text = ThrownBy([&] { return system.LoadNarrow(); });
    EXPECT_EQ(text, std::string("Cannot load library '"));  // a text ends at its first NUL
    EXPECT_EQ(ThrownBy([&] { return system.LoadWide(); }),
              "Cannot load library 'hvq.dll': 87 from cwd: " + system.modules.Folder());

    EXPECT_THAT(system.modules.Calls(), ElementsAre("FullPathA 260", "CurrentDirectory 1024", "LastError",
                                                    "FullPathW 260", "CurrentDirectory 1024", "LastError"));
}

TEST(LoadSharedObject, LoadsByAPathOf260CharactersAndMore) {
    FakedSystem system;
    const std::string name(300, 'n');
    system.files.Put(std::wstring(300, L'n'), images::Pe());
    system.modules.Put(system.Absolute(name));

    EXPECT_NE(load_shared_object(name, system.Seams()), nullptr);
    EXPECT_NE(load_shared_object(std::wstring(300, L'n'), nullptr, system.Seams()), nullptr);

    const std::string needed = std::to_string(system.Absolute(name).size() + 1);
    EXPECT_THAT(system.modules.Calls(), ElementsAre("FullPathA 260", "FullPathA " + needed, "LoadA 0x1100", "Unload",
                                                    "FullPathW 260", "FullPathW " + needed, "LoadW 0x1100", "Unload"));
}

TEST(LoadSharedObject, LeavesLoadingToTheCallersFunction) {
    SystemWithLibrary system;
    std::wstring asked;
    const auto loadFunction = [&](const std::wstring& absolutePath) {
        asked = absolutePath;
        return system.modules.Load(system.Path(), 0);
    };

    auto library = load_shared_object(L"hvq.dll", loadFunction, system.Seams());

    const std::string path = system.Path();
    EXPECT_EQ(asked, std::wstring(path.begin(), path.end()));
    EXPECT_EQ(library->type, 1);
    EXPECT_NE(library->module, nullptr);
    EXPECT_THAT(system.modules.Calls(), ElementsAre("FullPathW 260", "LoadA 0"));

    library.reset();
    EXPECT_EQ(system.modules.Loads(path), 0);
}

TEST(LoadSharedObject, TakesNullFromTheCallersFunctionAsARefusalAndDoesNotTryAgain) {
    SystemWithLibrary system;
    const auto refuse = [&](const std::wstring&) -> platform::ModuleHandle {
        system.modules.SetLastError(87);
        return nullptr;
    };

    EXPECT_EQ(ThrownBy([&] { return load_shared_object(L"hvq.dll", refuse, system.Seams()); }),
              "Cannot load library 'hvq.dll': 87 from cwd: " + system.modules.Folder());

    EXPECT_THAT(system.modules.Calls(), ElementsAre("FullPathW 260", "CurrentDirectory 1024", "LastError"));
}

TEST(LoadSharedObject, GivesTheCallersFunctionAnyAbsolutePath) {
    SystemWithLibrary system;
    system.modules.AnswerFullPath({5});
    std::wstring asked;
    const auto refuse = [&](const std::wstring& path) -> platform::ModuleHandle {
        asked = path;
        return nullptr;
    };

    (void)ThrownBy([&] { return load_shared_object(L"hvq.dll", refuse, system.Seams()); });

    EXPECT_EQ(asked, std::wstring(5, L'\0'));
}

TEST(LoadSharedObject, PassesOnWhatTheCallersFunctionThrows) {
    SystemWithLibrary system;
    const auto fail = [](const std::wstring&) -> platform::ModuleHandle { throw std::runtime_error("no"); };

    EXPECT_EQ(ThrownBy([&] { return load_shared_object(L"hvq.dll", fail, system.Seams()); }), "no");

    EXPECT_THAT(system.modules.Calls(), ElementsAre("FullPathW 260"));
}

TEST(LoadSharedObject, ConvertsWidePathsForItsTextsStrictly) {
    FakedSystem system;
    system.conversion.AnswerNext({0});
    EXPECT_EQ(ThrownBy([&] { return load_shared_object(L"hvq.dll", nullptr, system.Seams()); }),
              "Failed to convert wstring to string (length calculation).");
    system.conversion.AnswerNext({8, 0});
    EXPECT_EQ(ThrownBy([&] { return load_shared_object(L"hvq.dll", nullptr, system.Seams()); }),
              "Failed to convert wstring to string (conversion).");
}

TEST(LoadSharedObject, ConvertsNoWidePathWhenAllIsWell) {
    SystemWithLibrary system;

    EXPECT_NE(system.LoadWide(), nullptr);

    EXPECT_THAT(system.conversion.CodePages(), IsEmpty());
}

// The name can be read at first and not a moment later, when somebody has changed the code page.
TEST(LoadSharedObject, RefusesANarrowPathThatLosesItsWideForm) {
    class Forgetful final : public platform::FileViews {
     public:
        std::optional<std::wstring> WidePath(const std::string&) override {
            return m_asked++ == 0 ? std::optional<std::wstring>(L"hvq.dll") : std::nullopt;
        }
        bool Exists(const std::wstring&) override { return true; }
        std::unique_ptr<std::istream> OpenStream(const std::wstring&) override { return nullptr; }
        std::unique_ptr<platform::FileView> Open(const std::wstring&) override { return nullptr; }

     private:
        int m_asked = 0;
    };
    FakedSystem system;
    Forgetful files;

    EXPECT_EQ(ThrownBy([&] {
                  return load_shared_object("hvq.dll", {system.modules, files, system.streams, system.conversion});
              }),
              "hvq.dll file is not a valid DLL. load_shared_object failed.");
}

}  // namespace
