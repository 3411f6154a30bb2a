#include "engine/image_headers/dll_architecture.h"

#include <gmock/gmock.h>

#include <string>
#include <string_view>

#include "faked_system.h"
#include "images.h"

namespace {

using hvq::util::GetDllArchitecture;
using platform::ImageFormat;
using support::FileStep;
using testing::ElementsAre;
using testing::IsEmpty;

std::string ArchitectureOf(FakedSystem& system, const std::string& image) {
    system.files.Put(L"hvq.dll", image);
    return GetDllArchitecture(L"hvq.dll", system.Seams());
}

std::string ArchitectureOf(const std::string& image) {
    FakedSystem system;
    const std::string name = ArchitectureOf(system, image);
    EXPECT_THAT(system.Errors(), IsEmpty());
    return name;
}

// The image has no readable machine, and this is what is said of it.
void ExpectReport(FakedSystem& system, const std::string& image, const std::string& text) {
    EXPECT_EQ(ArchitectureOf(system, image), "WIN-UNKNOWN");
    EXPECT_THAT(system.Errors(), ElementsAre(text + "\n"));
}

void ExpectReport(const std::string& image, const std::string& text) {
    FakedSystem system;
    ExpectReport(system, image, text);
}

constexpr char kNoMark[] = "Not a valid PE image (DOS signature mismatch).";
constexpr char kNegative[] = "Not a valid PE image (negative e_lfanew).";
constexpr char kOutOfBounds[] = "Not a valid PE image (e_lfanew out of bounds).";

TEST(DllArchitecture, IsNamedByTheMachineInTheHeaders) {
    EXPECT_EQ(ArchitectureOf(images::Pe(0x01C0)), "WIN-ARM");
    EXPECT_EQ(ArchitectureOf(images::Pe(0x0200)), "WIN-IA64");
    EXPECT_EQ(ArchitectureOf(images::Pe(0x8664)), "WIN-AMD64");
    EXPECT_EQ(ArchitectureOf(images::Pe(0xAA64)), "WIN-ARM64");
}

TEST(DllArchitecture, OfOtherMachinesIsUnknownWithoutAWord) {
    for (const int machine : {0x0000, 0x014C, 0x01C4, 0x5032, 0x6486, 0xFFFF})
        EXPECT_EQ(ArchitectureOf(images::Pe(static_cast<std::uint16_t>(machine))), "WIN-UNKNOWN") << machine;
}

TEST(DllArchitecture, DoesNotAskWhetherItIsALibrary) {
    EXPECT_EQ(ArchitectureOf(images::Pe(images::kPeAmd64, 0)), "WIN-AMD64");
}

TEST(DllArchitecture, IsUnknownWhenTheFileCannotBeOpened) {
    FakedSystem system;
    EXPECT_EQ(GetDllArchitecture(L"hvq.dll", system.Seams()), "WIN-UNKNOWN");
    EXPECT_THAT(system.Errors(), ElementsAre("Failed to open DLL file.\n"));
    EXPECT_THAT(system.files.Steps(), ElementsAre(FileStep::Open));
}

TEST(DllArchitecture, IsUnknownWhenTheSizeCannotBeRead) {
    FakedSystem system;
    system.files.FailNext(FileStep::Size);
    ExpectReport(system, images::Pe(), "Failed to get DLL file size.");
    EXPECT_THAT(system.files.Steps(), ElementsAre(FileStep::Open, FileStep::Size));
}

TEST(DllArchitecture, OfAnEmptyFileIsUnknown) {
    ExpectReport("", "Failed to get DLL file size.");
}

TEST(DllArchitecture, IsUnknownWhenNoMappingCanBeMade) {
    FakedSystem system;
    system.files.FailNext(FileStep::CreateMapping);
    ExpectReport(system, images::Pe(), "Failed to create file mapping.");
    EXPECT_THAT(system.files.Steps(), ElementsAre(FileStep::Open, FileStep::Size, FileStep::CreateMapping));
}

TEST(DllArchitecture, IsUnknownWhenNothingCanBeMapped) {
    FakedSystem system;
    system.files.FailNext(FileStep::Map);
    ExpectReport(system, images::Pe(), "Failed to map view of file.");
    EXPECT_THAT(system.files.Steps(),
                ElementsAre(FileStep::Open, FileStep::Size, FileStep::CreateMapping, FileStep::Map));
}

TEST(DllArchitecture, OfAFileWithoutTheMarkIsUnknown) {
    ExpectReport("MX", kNoMark);
    ExpectReport("M", kNoMark);
    ExpectReport("a text file\n", kNoMark);
    ExpectReport(std::string(1000, '\0'), kNoMark);
}

// What lies behind the end reads as zero, as in the rest of a mapping's page, and no further byte is touched.
TEST(DllArchitecture, OfAFileThatEndsInItsFirstHeaderIsUnknown) {
    ExpectReport("MZ", kOutOfBounds);
    ExpectReport(images::DosHeader(64).substr(0, 60), kOutOfBounds);
    ExpectReport(images::DosHeader(64).substr(0, 63), kOutOfBounds);
    ExpectReport(images::DosHeader(-1).substr(0, 63), kOutOfBounds);
    ExpectReport(images::DosHeader(64), kOutOfBounds);
}

TEST(DllArchitecture, OfHeadersBeforeTheFileIsUnknown) {
    ExpectReport(images::DosHeader(-1), kNegative);
    ExpectReport(images::DosHeader(static_cast<std::int32_t>(0x80000000)), kNegative);
}

TEST(DllArchitecture, NeedsTheWholeNtHeadersInTheFile) {
    EXPECT_EQ(images::Pe().size(), 64U + 264U);
    EXPECT_EQ(ArchitectureOf(images::Pe()), "WIN-AMD64");
    ExpectReport(images::Pe().substr(0, images::Pe().size() - 1), kOutOfBounds);
}

TEST(DllArchitecture, OfHeadersFarBehindTheFileIsUnknown) {
    ExpectReport(images::DosHeader(0x10000000) + std::string(300, '\0'), kOutOfBounds);
    ExpectReport(images::DosHeader(0x7FFFFFFF) + std::string(300, '\0'), kOutOfBounds);
}

TEST(DllArchitecture, OfAFileWithoutTheSignatureIsUnknown) {
    std::string image = images::Pe();
    images::Put32(image, 64, 0x01004550);
    ExpectReport(image, "Not a valid PE image.");
}

TEST(DllArchitecture, MayStandInHeadersThatBeginWithTheFile) {
    ExpectReport(images::DosHeader(0) + std::string(300, '\0'), "Not a valid PE image.");
}

TEST(DllArchitecture, OfALibraryForLinuxIsKnownWhereThoseAreNative) {
    const auto name = [](std::uint16_t machine) {
        FakedSystem system;
        system.nativeImages = ImageFormat::Elf;
        return ArchitectureOf(system, images::Elf(machine));
    };
    EXPECT_EQ(name(62), "WIN-AMD64");
    EXPECT_EQ(name(183), "WIN-ARM64");
    EXPECT_EQ(name(40), "WIN-ARM");
    EXPECT_EQ(name(50), "WIN-IA64");
    EXPECT_EQ(name(3), "WIN-UNKNOWN");
    EXPECT_EQ(name(0), "WIN-UNKNOWN");
    ExpectReport(images::Elf(), kNoMark);
}

TEST(DllArchitecture, OfALibraryForLinuxNeedsItsWholeHeader) {
    FakedSystem system;
    system.nativeImages = ImageFormat::Elf;
    ExpectReport(system, images::Elf().substr(0, 63), kNoMark);

    FakedSystem whole;
    whole.nativeImages = ImageFormat::Elf;
    EXPECT_EQ(ArchitectureOf(whole, images::Elf().substr(0, 64)), "WIN-AMD64");
}

TEST(DllArchitecture, OfALibraryForWindowsIsKnownEverywhere) {
    FakedSystem system;
    system.nativeImages = ImageFormat::Elf;
    EXPECT_EQ(ArchitectureOf(system, images::Pe(0xAA64)), "WIN-ARM64");
}

// Whoever reads the line may replace the file at once.
TEST(DllArchitecture, LetsGoOfTheFileBeforeItSaysAnything) {
    class LookingStreams final : public platform::StandardStreams {
     public:
        explicit LookingStreams(support::FakeFileViews& files) : m_files(files) {}
        void Write(platform::StandardStream, std::string_view) override { m_open.push_back(m_files.OpenFiles()); }
        std::vector<int> m_open;

     private:
        support::FakeFileViews& m_files;
    };
    FakedSystem system;
    LookingStreams streams(system.files);
    const auto architectureOf = [&](const std::string& image) {
        system.files.Put(L"hvq.dll", image);
        return GetDllArchitecture(L"hvq.dll", {system.modules, system.files, streams, system.conversion});
    };

    (void)architectureOf("");
    for (const FileStep step : {FileStep::CreateMapping, FileStep::Map}) {
        system.files.FailNext(step);
        (void)architectureOf(images::Pe());
    }
    (void)architectureOf("MX");
    (void)architectureOf("MZ");

    EXPECT_THAT(streams.m_open, ElementsAre(0, 0, 0, 0, 0));
}

TEST(DllArchitecture, LeavesNothingOpen) {
    FakedSystem system;
    EXPECT_EQ(ArchitectureOf(system, images::Pe()), "WIN-AMD64");
    EXPECT_EQ(system.files.OpenFiles(), 0);
}

}  // namespace
