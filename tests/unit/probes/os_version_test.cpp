#include "probes/os_version.h"

#include <gmock/gmock.h>

#include <atomic>
#include <thread>
#include <vector>

#include "support/fake_machine.h"

namespace probes {
namespace {

using support::FakeMachine;
using support::FakeVersion;
using testing::ElementsAre;

constexpr std::uint32_t kUntouched = 77;
constexpr std::uint32_t kAnyBuild = 1234;

struct Outputs {
    std::int32_t versionClass = -1;
    std::uint32_t major = kUntouched;
    std::uint32_t minor = kUntouched;
    std::uint32_t build = kUntouched;

    bool operator==(const Outputs&) const = default;
};

void PrintTo(const Outputs& outputs, std::ostream* out) {
    *out << "class " << outputs.versionClass << " of " << outputs.major << "." << outputs.minor << "." << outputs.build;
}

Outputs Ask(FakeMachine& machine) {
    Outputs outputs;
    outputs.versionClass = GetOsVersionClass(outputs.major, outputs.minor, outputs.build, machine.Parts());
    return outputs;
}

std::int32_t ClassOf(const FakeVersion& version) {
    FakeMachine machine;
    machine.releases.reported = version;
    return Ask(machine).versionClass;
}

void PutProduct(FakeMachine& machine, std::uint32_t major, std::uint32_t minor) {
    machine.releases.blockBytes = 100;
    machine.releases.product = platform::ProductVersion{major << 16 | minor, 0};
}

TEST(OsVersionClass, FollowsTheTableRowByRow) {
    const struct {
        FakeVersion version;
        std::int32_t versionClass;
    } rows[] = {
        {{2, 0, 0, kAnyBuild}, 2},
        {{2, 3, 51, kAnyBuild}, 2},
        {{2, 4, 0, kAnyBuild}, 2},
        {{2, 4, 90, kAnyBuild}, 2},
        {{1, 4, 0, kAnyBuild}, 3},
        {{1, 4, 10, kAnyBuild}, 4},
        {{1, 4, 90, kAnyBuild}, 5},
        {{2, 5, 0, kAnyBuild}, 6},
        {{2, 5, 1, kAnyBuild}, 7},
        {{2, 5, 2, kAnyBuild}, 8},
        {{2, 6, 0, kAnyBuild}, 9},
        {{2, 6, 1, kAnyBuild}, 10},
        {{2, 6, 2, kAnyBuild}, 11},
        {{2, 6, 3, kAnyBuild}, 12},
        {{2, 10, 0, 0}, 13},
        {{2, 10, 0, 19045}, 13},
        {{2, 10, 0, 21995}, 13},
        {{2, 10, 0, 21996}, 14},
        {{2, 10, 0, 0xFFFFFFFF}, 14},
        {{2, 6, 4, kAnyBuild}, 20},
        {{2, 6, 0xFFFFFFFF, kAnyBuild}, 20},
        {{2, 10, 1, 0}, 20},
        {{2, 10, 1, 21996}, 20},
        {{2, 7, 0, kAnyBuild}, 20},
        {{2, 8, 1, kAnyBuild}, 20},
        {{2, 9, 0, kAnyBuild}, 20},
        {{2, 11, 0, kAnyBuild}, 20},
        {{2, 0xFFFFFFFF, 0, kAnyBuild}, 20},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(ClassOf(row.version), row.versionClass)
            << row.version.platformId << ": " << row.version.major << "." << row.version.minor;
    }
}

TEST(OsVersionClass, IsUnknownInAnyOtherCase) {
    const FakeVersion versions[] = {
        {1, 3, 0, 0}, {1, 4, 1, 0}, {1, 4, 9, 0},  {1, 4, 11, 0}, {1, 4, 89, 0}, {1, 4, 91, 0},
        {1, 5, 0, 0}, {1, 6, 1, 0}, {1, 10, 0, 0}, {0, 6, 1, 0},  {3, 6, 1, 0},  {3, 10, 0, 0},
    };
    for (const FakeVersion& version : versions)
        EXPECT_EQ(ClassOf(version), 0) << version.platformId << ": " << version.major << "." << version.minor;
}

TEST(OsVersionClass, IsUnknownAndNotLaterForMajor5AboveMinor2) {
    EXPECT_EQ(ClassOf({2, 5, 3, 0}), 0);
    EXPECT_EQ(ClassOf({2, 5, 90, 0}), 0);
}

TEST(OsVersionClass, AsksTheThreePlacesInTurn) {
    FakeMachine machine;
    machine.releases.reported = FakeVersion{2, 6, 2, 9200};
    machine.releases.real = FakeVersion{2, 10, 0, 19045};
    PutProduct(machine, 10, 0);

    (void)Ask(machine);

    EXPECT_THAT(machine.log,
                ElementsAre("ReportedVersion 284", "HasRtlVersion", "RtlVersion 276", "SystemFolder 260",
                            "BlockBytes C:\\Windows\\System32\\kernel32.dll",
                            "ReadBlock C:\\Windows\\System32\\kernel32.dll 100", "FindProductVersion 100"));
}

TEST(OsVersionClass, SeesBehindTheCompatibilityLayer) {
    FakeMachine machine;
    machine.releases.reported = FakeVersion{2, 6, 2, 9200};
    machine.releases.real = FakeVersion{2, 10, 0, 19045};

    EXPECT_EQ(Ask(machine), (Outputs{13, 10, 0, 19045}));
}

TEST(OsVersionClass, MixesTheFilesMajorWithTheReportedMinor) {
    FakeMachine machine;
    machine.releases.reported = FakeVersion{2, 6, 2, 9200};
    PutProduct(machine, 10, 0);

    EXPECT_EQ(Ask(machine), (Outputs{20, 10, 2, 9200}));
}

TEST(OsVersionClass, MixesTheFilesMajorWithTheRealMinor) {
    FakeMachine machine;
    machine.releases.reported = FakeVersion{2, 6, 2, 9200};
    machine.releases.real = FakeVersion{2, 6, 3, 9600};
    PutProduct(machine, 11, 0);

    EXPECT_EQ(Ask(machine), (Outputs{20, 11, 3, 9600}));
}

TEST(OsVersionClass, IgnoresAFilesMajorBelow10) {
    FakeMachine machine;
    machine.releases.reported = FakeVersion{2, 6, 1, 7601};
    PutProduct(machine, 9, 5);

    EXPECT_EQ(Ask(machine), (Outputs{10, 6, 1, 7601}));
}

TEST(OsVersionClass, TriesTheShortRecordWhenTheLongOneIsRefused) {
    FakeMachine machine;
    machine.releases.reported = FakeVersion{1, 4, 10, 1998};
    machine.releases.knowsLongRecord = false;

    EXPECT_EQ(Ask(machine), (Outputs{4, 4, 10, 1998}));
    EXPECT_THAT(std::vector(machine.log.begin(), machine.log.begin() + 3),
                ElementsAre("ReportedVersion 284", "ReportedVersion 276", "HasRtlVersion"));
}

TEST(OsVersionClass, IsUnknownAndWritesNothingWhenBothRecordsAreRefused) {
    FakeMachine machine;
    machine.releases.real = FakeVersion{2, 10, 0, 19045};
    PutProduct(machine, 10, 0);

    EXPECT_EQ(Ask(machine), (Outputs{0, kUntouched, kUntouched, kUntouched}));
    EXPECT_THAT(machine.log, ElementsAre("ReportedVersion 284", "ReportedVersion 276"));
}

TEST(OsVersionClass, HandsOverZeroedRecords) {
    FakeMachine machine;
    machine.releases.reported = FakeVersion{2, 6, 2, 9200};
    (void)Ask(machine);
    EXPECT_EQ(machine.releases.seenRecord.major, 0u);

    machine.releases.real = FakeVersion{2, 10, 0, 19045};
    (void)Ask(machine);
    EXPECT_EQ(machine.releases.seenRecord.recordBytes, 276u);
    EXPECT_EQ(machine.releases.seenRecord.major, 0u);
    EXPECT_EQ(machine.releases.seenRecord.platformId, 0u);
}

TEST(OsVersionClass, IgnoresARealVersionThatFailed) {
    FakeMachine machine;
    machine.releases.reported = FakeVersion{2, 6, 1, 7601};
    machine.releases.real = FakeVersion{2, 10, 0, 19045};
    machine.releases.realStatus = -1073741811;

    EXPECT_EQ(Ask(machine), (Outputs{10, 6, 1, 7601}));
}

TEST(OsVersionClass, TakesThePlatformFromTheFirstPlaceOnly) {
    FakeMachine machine;
    machine.releases.reported = FakeVersion{1, 4, 10, 1998};
    machine.releases.real = FakeVersion{2, 10, 0, 19045};

    EXPECT_EQ(Ask(machine), (Outputs{0, 10, 0, 19045}));
}

TEST(OsVersionClass, GivesTheNumbersOfAnUnknownRelease) {
    FakeMachine machine;
    machine.releases.reported = FakeVersion{2, 5, 3, 4000};

    EXPECT_EQ(Ask(machine), (Outputs{0, 5, 3, 4000}));
}

TEST(CachedOsVersionClass, IsAskedForOnce) {
    FakeMachine machine;
    machine.releases.reported = FakeVersion{2, 6, 1, 7601};
    std::atomic<std::int32_t> cached = 0;

    EXPECT_EQ(GetCachedOsVersionClass(cached, machine.Parts()), 10);
    machine.log.clear();
    machine.releases.reported = FakeVersion{2, 6, 3, 9600};

    EXPECT_EQ(GetCachedOsVersionClass(cached, machine.Parts()), 10);
    EXPECT_TRUE(machine.log.empty());
}

TEST(CachedOsVersionClass, IsTheSameForThreadsThatRaceForIt) {
    std::int32_t other = -1;
    std::thread thread([&] { other = GetCachedOsVersionClass(); });
    const std::int32_t own = GetCachedOsVersionClass();
    thread.join();
    EXPECT_EQ(own, other);
}

TEST(CachedOsVersionClass, IsAskedForAgainWhileItIsUnknown) {
    FakeMachine machine;
    std::atomic<std::int32_t> cached = 0;
    EXPECT_EQ(GetCachedOsVersionClass(cached, machine.Parts()), 0);

    machine.releases.reported = FakeVersion{2, 6, 3, 9600};

    EXPECT_EQ(GetCachedOsVersionClass(cached, machine.Parts()), 12);
    EXPECT_EQ(cached, 12);
}

TEST(RtlVersion, IsNotThereOnOldReleasesAndLeavesTheRecordAlone) {
    FakeMachine machine;
    platform::VersionRecord record;
    record.recordBytes = kUntouched;

    EXPECT_FALSE(ReadRtlVersion(record, machine.Parts()));
    EXPECT_EQ(record.recordBytes, kUntouched);
    EXPECT_THAT(machine.log, ElementsAre("HasRtlVersion"));
}

TEST(RtlVersion, FillsTheShortRecordWhateverSizeItCameWith) {
    FakeMachine machine;
    machine.releases.real = FakeVersion{2, 10, 0, 22631};
    platform::VersionRecord record;
    record.recordBytes = 284;

    EXPECT_TRUE(ReadRtlVersion(record, machine.Parts()));
    EXPECT_EQ(record.major, 10u);
    EXPECT_EQ(record.build, 22631u);
    EXPECT_THAT(machine.log, ElementsAre("HasRtlVersion", "RtlVersion 276"));
}

TEST(RtlVersion, SaysWhenTheCallFails) {
    for (const std::int32_t status : {-1, 1, 0x40000000}) {
        FakeMachine machine;
        machine.releases.real = FakeVersion{2, 10, 0, 22631};
        machine.releases.realStatus = status;
        platform::VersionRecord record;
        EXPECT_FALSE(ReadRtlVersion(record, machine.Parts())) << status;
    }
}

}  // namespace
}  // namespace probes
