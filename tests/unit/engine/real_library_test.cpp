#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>

#include "contract/own_child.h"
#include "contract/temporary_folder.h"
#include "contract/test_libraries.h"
#include "counting_calls.h"
#include "engine/image_headers/dll_architecture.h"
#include "engine/image_headers/is_valid_dll.h"
#include "engine/shared_library.h"
#include "engine/system_architecture.h"
#include "images.h"
#include "platform/module_files.h"
#include "roles.h"
#include "support/recording_streams.h"
#include "thrown_text.h"

// Nothing is faked here but, in some tests, the standard streams.
namespace {

using contract::ContentOf;
using contract::CountingLibrary;
using contract::CurrentFolder;
using contract::TemporaryFolder;
using contract::WideOf;
using hvq::util::get_shared_object_symbol;
using hvq::util::load_shared_object;
using testing::HasSubstr;
using testing::StartsWith;

// The line end that a text stream writes.
std::string LineEnd() {
    return contract::OnWindows() ? "\r\n" : "\n";
}

// A library whose headers name another machine, of the kind that this system loads.
std::string LibraryForAnotherMachine() {
    std::string image = ContentOf(CountingLibrary());
    if (contract::OnWindows()) {
        const auto at = static_cast<unsigned char>(image[60]) | static_cast<unsigned char>(image[61]) << 8;
        images::Put16(image, static_cast<std::size_t>(at) + 4, 0x014C);
    } else {
        images::Put16(image, 18, 3);
    }
    return image;
}

TEST(RealLibrary, StaysLoadedUntilItsLastReferenceGoes) {
    Library first = load_shared_object(CountingLibrary().string());
    EXPECT_EQ(Next(first), 1);
    Library second = load_shared_object(WideOf(CountingLibrary()));
    EXPECT_EQ(Next(second), 2);
    EXPECT_NE(first.get(), second.get());

    first.reset();
    EXPECT_EQ(Next(second), 3);

    second.reset();
    EXPECT_EQ(Next(load_shared_object(CountingLibrary().string())), 1) << "loaded afresh";
}

TEST(RealLibrary, IsFoundFromTheCurrentFolder) {
    const CurrentFolder here(CountingLibrary().parent_path());

    EXPECT_EQ(Next(load_shared_object("counting_library.dll")), 1);
    EXPECT_EQ(Next(load_shared_object(L"./counting_library.dll")), 1);
    EXPECT_EQ(Next(load_shared_object(L"../libraries/counting_library.dll")), 1);
}

TEST(RealLibrary, FindsWhatItNeedsInItsOwnFolder) {
    const TemporaryFolder elsewhere;
    const CurrentFolder here(elsewhere.Path());

    EXPECT_EQ(CallFunction(load_shared_object(contract::DependentLibrary().string()), "dependent_library_next"), 101);
    EXPECT_EQ(CallFunction(load_shared_object(WideOf(contract::DependentLibrary())), "dependent_library_next"), 101);
}

TEST(RealLibrary, IsRefusedWhenWhatItNeedsIsMissing) {
    const TemporaryFolder folder;
    copy_file(contract::DependentLibrary(), folder.Path() / "hvq.dll");

    EXPECT_THAT(ThrownBy([&] { return load_shared_object(WideOf(folder.Path() / "hvq.dll")); }),
                StartsWith("Cannot load library '"));
}

TEST(RealLibrary, MayHaveAnyLettersInItsPath) {
    const TemporaryFolder folder;
    const std::filesystem::path inner = folder.Path() / std::filesystem::path(u8"gr\u00F6\u00DFe \u65E5\u672C");
    create_directory(inner);
    copy_file(CountingLibrary(), inner / "hvq.dll");

    EXPECT_EQ(Next(load_shared_object(WideOf(inner / "hvq.dll"))), 1);
}

// Names with a letter beyond plain ones, for one code page or another.
constexpr const char8_t* kNamesOfManyScripts[] = {
    u8"gr\u00F6\u00DFe.dll", u8"\u00E9t\u00E9.dll", u8"\u0142.dll", u8"\u011F.dll", u8"\u044F.dll",
    u8"\u03BB.dll",          u8"\u05D0.dll",        u8"\u0628.dll", u8"\u0E01.dll", u8"\u01B0.dll",
    u8"\u3042.dll",          u8"\uAC00.dll",        u8"\u4E2D.dll"};

// The first of them that the system's code page can say, in bytes of it, and the path that it means.
struct NarrowName {
    std::string bytes;
    std::filesystem::path path;
};
std::optional<NarrowName> NameOfTheCodePage() {
    platform::TextConversion& conversion = platform::SystemTextConversion();
    for (const char8_t* const name : kNamesOfManyScripts) {
        const std::filesystem::path path(name);
        const std::wstring wide = WideOf(path);
        std::array<char, 64> narrow{};
        std::array<wchar_t, 64> back{};
        (void)conversion.WideToBytes(platform::CodePage::System, wide.c_str(), narrow.data(), 64);
        (void)conversion.BytesToWide(platform::CodePage::System, narrow.data(), back.data(), 64);
        if (back.data() == wide) return NarrowName{narrow.data(), path};
    }
    return std::nullopt;
}

TEST(RealLibrary, MayHaveLettersOfTheFileSystemsCodePageInANarrowPath) {
    const TemporaryFolder folder;
    const std::optional<NarrowName> name = NameOfTheCodePage();
    ASSERT_TRUE(name) << "the system's code page has none of these letters";
    copy_file(CountingLibrary(), folder.Path() / name->path);

    const std::string path = folder.Path().string() + platform::kPathSeparator + name->bytes;
    EXPECT_EQ(Next(load_shared_object(path)), 1);
}

TEST(RealLibrary, IsLoadedByALongPath) {
    const TemporaryFolder folder;
    const std::filesystem::path outer = folder.Path() / std::string(90, 'o');
    const std::filesystem::path inner = outer / std::string(90, 'i') / std::string(90, 'd');
    std::error_code error;
    create_directories(inner, error);
    EXPECT_FALSE(error) << error.message();
    copy_file(CountingLibrary(), inner / "hvq.dll", error);
    EXPECT_FALSE(error) << error.message();

    EXPECT_EQ(Next(load_shared_object(WideOf(inner / "hvq.dll"))), 1);
    // Windows's own narrow call may refuse such a path, with 206.
    if (!contract::OnWindows()) {
        EXPECT_EQ(Next(load_shared_object((inner / "hvq.dll").string())), 1);
    }

    // Windows can make such folders and not walk through them, so nobody could remove them as they are.
    rename(inner.parent_path(), folder.Path() / "i", error);
}

TEST(RealLibrary, LacksASymbol) {
    const Library library = load_shared_object(CountingLibrary().string());

    EXPECT_THAT(ThrownBy([&] { return get_shared_object_symbol(library, "counting_library_previous"); }),
                StartsWith("GetProcAddress cannot locate method 'counting_library_previous': "));
}

TEST(RealLibrary, IsNoneInFilesThatHoldSomethingElse) {
    const TemporaryFolder folder;
    const std::string library = ContentOf(CountingLibrary());
    for (const std::string& content : {std::string(), std::string("a text file\n"), library.substr(0, 67)}) {
        const std::string path = folder.Write("hvq.dll", content).string();

        EXPECT_EQ(ThrownBy([&] { return load_shared_object(path); }),
                  path + " file is not a valid DLL. load_shared_object failed.");
    }
}

TEST(RealLibrary, IsRefusedByTheSystemWhenItIsCutOff) {
    const TemporaryFolder folder;
    const std::string whole = ContentOf(CountingLibrary());
    support::RecordingStreams streams;
    // Half of a file can be all that is ever loaded of it, where much is written for debuggers.
    for (const std::size_t bytes :
         {std::min(whole.size() / 2, std::size_t{10000}), std::size_t{5000}, std::size_t{600}, std::size_t{400}}) {
        ASSERT_GT(whole.size(), bytes);
        const std::string path = folder.Write("cut" + std::to_string(bytes), whole.substr(0, bytes)).string();

        EXPECT_THAT(
            ThrownBy([&] {
                return load_shared_object(path, {platform::SystemModuleLoader(), platform::SystemFileViews(), streams});
            }),
            StartsWith("Cannot load library '" + path + "': "))
            << bytes;
    }
}

TEST(RealLibrary, IsRefusedByTheSystemWhenItIsForAnotherMachine) {
    const TemporaryFolder folder;
    const std::filesystem::path path = folder.Write("hvq.dll", LibraryForAnotherMachine());
    support::RecordingStreams streams;

    EXPECT_THAT(ThrownBy([&] {
                    return load_shared_object(path.string(),
                                              {platform::SystemModuleLoader(), platform::SystemFileViews(), streams});
                }),
                StartsWith("Cannot load library '" + path.string() + "': "));

    EXPECT_EQ(streams.Error(), "[HVQ Warning]: " + path.string() +
                                   " architecture is WIN-UNKNOWN, Windows OS architecture is " +
                                   hvq::util::GetSystemArchitecture() + ". Please notice, two architectures not same.");
}

TEST(RealLibrary, WithHeadersAtTheLastPlaceThatIsSaneIsReadAndNotBehind) {
    const TemporaryFolder folder;
    const auto imageAt = [&](std::int32_t at) {
        std::filesystem::path path = folder.Write("far.dll", images::DosHeader(at));
        std::fstream file(path, std::ios::binary | std::ios::in | std::ios::out);
        file.seekp(at);
        const std::string image = images::Pe();
        file.write(image.data() + 64, 264);
        return WideOf(path);
    };
    support::RecordingStreams streams;
    const hvq::util::LoaderSeams seams{platform::SystemModuleLoader(), platform::SystemFileViews(), streams};

    const std::wstring last = imageAt(0x10000000);
    EXPECT_TRUE(hvq::util::IsValidDll(last, seams));
    EXPECT_EQ(hvq::util::GetDllArchitecture(last, seams), "WIN-AMD64");

    const std::wstring behind = imageAt(0x10000001);
    EXPECT_FALSE(hvq::util::IsValidDll(behind, seams));
    EXPECT_EQ(hvq::util::GetDllArchitecture(behind, seams), "WIN-UNKNOWN");
    EXPECT_THAT(streams.Error(), testing::EndsWith("Not a valid PE image (e_lfanew out of bounds).\n"));
}

// What a child that loads `path` writes to its standard error.
std::string ErrorsOfChild(const char* role, const std::string& path, int expectedCode) {
    const TemporaryFolder folder;
    const std::filesystem::path output = folder.Path() / "output";
    const std::filesystem::path errors = folder.Path() / "errors";
    contract::OwnChild child(
        platform::ChildStart{contract::OwnProgram(), role + path, {}, output.string(), errors.string()});
    EXPECT_EQ(child.EndCode(), expectedCode);
    EXPECT_EQ(ContentOf(output), "");
    return ContentOf(errors);
}

TEST(RealLibrary, IsLoadedWithoutAWordOnTheStandardStreams) {
    EXPECT_EQ(ErrorsOfChild(roles::kLoadNarrow, CountingLibrary().string(), 0), "");
    EXPECT_EQ(ErrorsOfChild(roles::kLoadWide, CountingLibrary().string(), 0), "");
}

// The warning has no line end, so that what comes next continues its line.
TEST(RealLibrary, ForAnotherMachineWarnsOnStandardErrorAndIsRefused) {
    const TemporaryFolder folder;
    const std::string path = folder.Write("hvq.dll", LibraryForAnotherMachine()).string();

    EXPECT_THAT(ErrorsOfChild(roles::kLoadWide, path, 1),
                StartsWith("[HVQ Warning]: " + path + " architecture is WIN-UNKNOWN, Windows OS architecture is " +
                           hvq::util::GetSystemArchitecture() +
                           ". Please notice, two architectures not same.Cannot load library '" + path + "': "));
}

TEST(RealLibrary, WithSmallHeadersIsExplainedOnStandardErrorAndIsRefused) {
    const TemporaryFolder folder;
    const std::string path = folder.Write("hvq.dll", images::Pe().substr(0, 64 + 24)).string();

    EXPECT_THAT(ErrorsOfChild(roles::kLoadNarrow, path, 1),
                StartsWith("Not a valid PE image (e_lfanew out of bounds)." + LineEnd() + "[HVQ Warning]: " + path +
                           " architecture is WIN-UNKNOWN, Windows OS architecture is "));
}

TEST(RealLibrary, ThatIsAFolderIsExplainedOnStandardErrorInUtf8) {
    const TemporaryFolder folder;
    const std::filesystem::path path = folder.Path() / "models";
    create_directory(path);

    EXPECT_EQ(ErrorsOfChild(roles::kLoadWide, path.string(), 1),
              "Failed to open file: " + path.string() + LineEnd() + path.string() +
                  " file is not a valid DLL. load_shared_object failed.");
}

}  // namespace
