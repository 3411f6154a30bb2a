#include "engine/image_headers/is_valid_dll.h"

#include <gmock/gmock.h>

#include <string>

#include "faked_system.h"
#include "images.h"

namespace {

using hvq::util::IsValidDll;
using support::FileStep;
using testing::ElementsAre;
using testing::IsEmpty;

bool Judge(FakedSystem& system, const std::string& image) {
    system.files.Put(L"hvq.dll", image);
    return IsValidDll(L"hvq.dll", system.Seams());
}

TEST(IsValidDll, TakesALibraryForThisMachineWithoutAWord) {
    FakedSystem system;

    EXPECT_TRUE(Judge(system, images::Pe()));

    EXPECT_THAT(system.Errors(), IsEmpty());
    EXPECT_EQ(system.files.OpenFiles(), 0);
}

TEST(IsValidDll, TakesALibraryForLinuxWhereThoseAreNative) {
    FakedSystem system;
    system.nativeImages = platform::ImageFormat::Elf;

    EXPECT_TRUE(Judge(system, images::Elf()));

    EXPECT_THAT(system.Errors(), IsEmpty());
}

TEST(IsValidDll, TellsThatAFileCannotBeOpened) {
    FakedSystem system;

    EXPECT_FALSE(IsValidDll(L"gr\u00F6\u00DFe.dll", system.Seams()));

    EXPECT_THAT(system.Errors(), ElementsAre("Failed to open file: gr\xC3\xB6\xC3\x9F"
                                             "e.dll\n"));
    EXPECT_THAT(system.files.Steps(), ElementsAre(FileStep::OpenStream));
}

TEST(IsValidDll, RefusesWhatIsNoLibraryWithoutAWord) {
    for (const std::string& image :
         {std::string(), std::string("a text file\n"), std::string(100, '\0'), images::Pe().substr(0, 67),
          images::Pe().substr(0, 68), images::Pe(images::kPeAmd64, 0), images::DosHeader(-1) + "more", images::Elf()}) {
        FakedSystem system;
        EXPECT_FALSE(Judge(system, image));
        EXPECT_THAT(system.Errors(), IsEmpty());
        EXPECT_THAT(system.files.Steps(), ElementsAre(FileStep::OpenStream)) << "no machine is read";
    }
}

TEST(IsValidDll, WarnsOfAnotherMachineInTwoPiecesWithoutALineEnd) {
    FakedSystem system;

    EXPECT_TRUE(Judge(system, images::Pe(0x014C)));

    EXPECT_THAT(system.Errors(), ElementsAre("[HVQ Warning]: hvq.dll architecture is ",
                                             "WIN-UNKNOWN, Windows OS architecture is WIN-AMD64. "
                                             "Please notice, two architectures not same."));
    EXPECT_EQ(system.streams.Output(), "");
}

TEST(IsValidDll, WarnsOfAnotherMachineAmongLibrariesForLinuxToo) {
    FakedSystem system;
    system.nativeImages = platform::ImageFormat::Elf;

    EXPECT_TRUE(Judge(system, images::Elf(183)));

    EXPECT_EQ(system.streams.Error(),
              "[HVQ Warning]: hvq.dll architecture is WIN-ARM64, Windows OS architecture is WIN-AMD64. "
              "Please notice, two architectures not same.");
}

TEST(IsValidDll, WarnsOnASystemOfAnUnknownKind) {
    FakedSystem system;
    system.modules.SetArchitecture(0);

    EXPECT_TRUE(Judge(system, images::Pe()));

    EXPECT_EQ(system.streams.Error(),
              "[HVQ Warning]: hvq.dll architecture is WIN-AMD64, Windows OS architecture is WIN-UNKNOWN. "
              "Please notice, two architectures not same.");
}

TEST(IsValidDll, DoesNotWarnWhenBothMachinesAreUnknown) {
    FakedSystem system;
    system.modules.SetArchitecture(0);

    EXPECT_TRUE(Judge(system, images::Pe(0x014C)));

    EXPECT_THAT(system.Errors(), IsEmpty());
}

TEST(IsValidDll, TakesALibraryThatIsTooSmallForItsMachineToBeRead) {
    FakedSystem system;

    EXPECT_TRUE(Judge(system, images::Pe().substr(0, 64 + 263)));

    EXPECT_THAT(system.Errors(), ElementsAre("Not a valid PE image (e_lfanew out of bounds).\n",
                                             "[HVQ Warning]: hvq.dll architecture is ",
                                             "WIN-UNKNOWN, Windows OS architecture is WIN-AMD64. "
                                             "Please notice, two architectures not same."));
}

TEST(IsValidDll, TakesALibraryWhoseMachineCannotBeAskedFor) {
    for (const FileStep step : {FileStep::Open, FileStep::Size, FileStep::CreateMapping, FileStep::Map}) {
        FakedSystem system;
        system.files.FailNext(step);
        EXPECT_TRUE(Judge(system, images::Pe()));
        EXPECT_EQ(system.Errors().size(), 3U);
    }
}

TEST(IsValidDll, TellsAllButAPathThatCannotBeConverted) {
    FakedSystem system;
    system.conversion.AnswerNext({0});

    EXPECT_TRUE(Judge(system, images::Pe(0xAA64)));

    EXPECT_EQ(system.streams.Error(),
              "[HVQ Warning]:  architecture is WIN-ARM64, Windows OS architecture is WIN-AMD64. "
              "Please notice, two architectures not same.");
}

}  // namespace
