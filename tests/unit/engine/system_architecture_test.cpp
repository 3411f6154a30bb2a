#include "engine/system_architecture.h"

#include <gmock/gmock.h>

#include <string>

#include "contract/temporary_folder.h"
#include "contract/test_libraries.h"
#include "engine/image_headers/dll_architecture.h"
#include "faked_system.h"

namespace {

using hvq::util::GetSystemArchitecture;

std::string NameOf(std::uint16_t architecture) {
    FakedSystem system;
    system.modules.SetArchitecture(architecture);
    return GetSystemArchitecture(system.Seams());
}

TEST(SystemArchitecture, IsNamedByTheSystemsNumber) {
    EXPECT_EQ(NameOf(5), "WIN-ARM");
    EXPECT_EQ(NameOf(6), "WIN-IA64");
    EXPECT_EQ(NameOf(9), "WIN-AMD64");
    EXPECT_EQ(NameOf(12), "WIN-ARM64");
}

TEST(SystemArchitecture, OfOtherNumbersIsUnknown) {
    for (const int number : {0, 1, 4, 7, 8, 10, 11, 13, 0xFFFF})
        EXPECT_EQ(NameOf(static_cast<std::uint16_t>(number)), "WIN-UNKNOWN") << number;
}

TEST(SystemArchitecture, IsThatOfALibraryThatWasBuiltHere) {
    EXPECT_EQ(GetSystemArchitecture(), hvq::util::GetDllArchitecture(contract::WideOf(contract::CountingLibrary())));
}

}  // namespace
