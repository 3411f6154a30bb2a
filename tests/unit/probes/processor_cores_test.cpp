#include "probes/processor_cores.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/fake_machine.h"

namespace probes {
namespace {

using platform::ProcessorRelation;
using support::FakeMachine;
using testing::Contains;
using testing::ElementsAre;
using testing::Not;

struct Counted {
    std::int32_t code = -1;
    std::uint32_t physicalCores = 99;
    std::uint32_t logicalPerCore = 99;

    bool operator==(const Counted&) const = default;
};

void PrintTo(const Counted& counted, std::ostream* out) {
    *out << "code " << counted.code << ", " << counted.physicalCores << " cores of " << counted.logicalPerCore;
}

Counted Count(FakeMachine& machine) {
    Counted counted;
    counted.code = CountProcessorCores(counted.physicalCores, counted.logicalPerCore, machine.Parts());
    return counted;
}

ProcessorRelation Relation(std::uint32_t relationship, std::uint64_t mask) {
    ProcessorRelation relation;
    relation.relationship = relationship;
    relation.processorMask = mask;
    return relation;
}

ProcessorRelation Core(std::uint64_t mask) {
    return Relation(platform::kRelationCore, mask);
}

// The classic way, on a machine of `count` processors that all run this process, numbered from 0 in their APIC ids.
void MakeClassic(FakeMachine& machine, std::uint32_t count, std::uint32_t logicalPerPackage) {
    machine.processors.SetHyperThreading(logicalPerPackage);
    machine.processors.count = count;
    const std::uint64_t all = (std::uint64_t{1} << count) - 1;
    machine.processors.masks = platform::ProcessorMasks{all, all};
    for (std::uint32_t id = 0; id < count; ++id)
        machine.processors.apicIds[static_cast<int>(id)] = static_cast<std::uint8_t>(id);
}

TEST(CoresByList, CountsCoresAndTheirLogicalProcessors) {
    FakeMachine machine;
    machine.processors.SetList({Core(0b0011), Core(0b1100)});

    EXPECT_EQ(Count(machine), (Counted{0, 2, 2}));
    EXPECT_THAT(machine.log, ElementsAre("FindList", "ReadList 0", "ReadList 64"));
}

TEST(CoresByList, PassesOverEverythingThatIsNoCore) {
    FakeMachine machine;
    machine.processors.SetList({Relation(1, 0xF), Core(0x1), Relation(platform::kRelationCache, 0xF), Core(0x2),
                                Relation(3, 0xF), Core(0x4), Relation(0xFFFF, 0xF)});

    EXPECT_EQ(Count(machine), (Counted{0, 3, 1}));
}

TEST(CoresByList, TruncatesTheLogicalProcessorsPerCore) {
    FakeMachine machine;
    machine.processors.SetList({Core(0b11), Core(0b1100), Core(0b10000)});  // 5 on 3 cores

    EXPECT_EQ(Count(machine), (Counted{0, 3, 1}));

    machine.processors.SetList({Core(0xFFFFFFFFFFFFFFFF)});
    EXPECT_EQ(Count(machine), (Counted{0, 1, 64}));
}

TEST(CoresByList, GivesNoLogicalProcessorToCoresWithEmptyMasks) {
    FakeMachine machine;
    machine.processors.SetList({Core(0), Core(0), Core(1)});

    EXPECT_EQ(Count(machine), (Counted{0, 3, 0}));
}

TEST(CoresByList, HasNoLimitOfAByte) {
    FakeMachine machine;
    machine.processors.SetList(std::vector<ProcessorRelation>(300, Core(1)));

    EXPECT_EQ(Count(machine), (Counted{0, 300, 1}));
}

TEST(CoresByList, LeavesAPieceOfARecordAtTheEnd) {
    FakeMachine machine;
    machine.processors.SetList({Core(1), Core(2), Core(4)});
    machine.processors.list->pop_back();

    EXPECT_EQ(Count(machine), (Counted{0, 2, 1}));
}

TEST(CoresByList, WalksOnlyWhatTheLastCallWrote) {
    FakeMachine machine;
    machine.processors.SetList({Core(1), Core(2)});
    machine.processors.listAnswers = {{platform::kInsufficientBuffer, 320}};  // asks for more than it writes

    EXPECT_EQ(Count(machine), (Counted{0, 2, 1}));
    EXPECT_THAT(machine.log, ElementsAre("FindList", "ReadList 0", "ReadList 320"));
}

TEST(CoresByList, NeverWalksBeyondTheBuffer) {
    FakeMachine machine;
    machine.processors.SetList({});
    machine.processors.listAnswers = {{platform::kInsufficientBuffer, 64}, {0, 4096}};  // says more than there is

    EXPECT_EQ(Count(machine), (Counted{0, 2, 0}));  // two records of zeros
}

TEST(CoresByList, AsksAgainAsLongAsTheListGrows) {
    FakeMachine machine;
    machine.processors.SetList({Core(1), Core(2), Core(4), Core(8)});
    machine.processors.listAnswers = {
        {platform::kInsufficientBuffer, 32}, {platform::kInsufficientBuffer, 64}, {platform::kInsufficientBuffer, 96}};

    EXPECT_EQ(Count(machine), (Counted{0, 4, 1}));
    EXPECT_THAT(machine.log,
                ElementsAre("FindList", "ReadList 0", "ReadList 32", "ReadList 64", "ReadList 96", "ReadList 128"));
}

// There is nothing to divide by.
TEST(CoresByList, KeepsOneLogicalProcessorForNoCoreAtAll) {
    FakeMachine machine;
    machine.processors.SetList({Relation(platform::kRelationCache, 0xF)});
    EXPECT_EQ(Count(machine), (Counted{0, 0, 1}));

    machine.processors.SetList({});  // succeeds at once, without a buffer
    EXPECT_EQ(Count(machine), (Counted{0, 0, 1}));
}

TEST(ClassicCores, AreCountedWhereThereIsNoList) {
    FakeMachine machine;
    machine.processors.count = 6;

    EXPECT_EQ(Count(machine), (Counted{0, 6, 1}));
    EXPECT_THAT(machine.log, ElementsAre("FindList", "ProcessorCount", "Cpuid 0"));
}

TEST(ClassicCores, AreCountedWhenTheListFailsAtOnce) {
    FakeMachine machine;
    machine.processors.SetList({Core(1)});
    machine.processors.listAnswers = {{5, 64}};
    machine.processors.count = 3;

    EXPECT_EQ(Count(machine), (Counted{0, 3, 1}));
    EXPECT_THAT(machine.log, ElementsAre("FindList", "ReadList 0", "ProcessorCount", "Cpuid 0"));
}

TEST(ClassicCores, AreCountedWhenTheListFailsWithABuffer) {
    FakeMachine machine;
    machine.processors.SetList({Core(1)});
    machine.processors.listAnswers = {{platform::kInsufficientBuffer, 32}, {87, 32}};
    machine.processors.count = 3;

    EXPECT_EQ(Count(machine), (Counted{0, 3, 1}));
}

TEST(ClassicCores, AreTheLowByteOfTheProcessors) {
    FakeMachine machine;
    machine.processors.count = 0x1FF;
    EXPECT_EQ(Count(machine).physicalCores, 0xFFu);

    machine.processors.count = 0x100;
    EXPECT_EQ(Count(machine).physicalCores, 0u);
}

TEST(ClassicCores, EndWithoutLogicalProcessorsInThePackage) {
    FakeMachine machine;
    MakeClassic(machine, 4, 0);

    EXPECT_EQ(Count(machine), (Counted{0, 4, 0}));
    EXPECT_THAT(machine.log, Not(Contains("ReadMasks")));
}

TEST(ClassicCores, AreMarkedForARestrictedProcess) {
    FakeMachine machine;
    MakeClassic(machine, 4, 2);
    machine.processors.masks = platform::ProcessorMasks{0b0111, 0b1111};

    EXPECT_EQ(Count(machine), (Counted{1, 255, 2}));
    EXPECT_EQ(machine.log.back(), "ReadMasks");  // nobody was moved
}

TEST(ClassicCores, AreDividedWhenASiblingIsActive) {
    FakeMachine machine;
    MakeClassic(machine, 4, 2);

    EXPECT_EQ(Count(machine), (Counted{1, 2, 2}));
    EXPECT_EQ(machine.processors.masks->process, 0b1111u);
}

TEST(ClassicCores, AreTruncatedWhenDivided) {
    FakeMachine machine;
    MakeClassic(machine, 7, 4);

    EXPECT_EQ(Count(machine), (Counted{1, 1, 4}));
}

TEST(ClassicCores, VisitEachProcessorFromTheLowestAndComeBack) {
    FakeMachine machine;
    MakeClassic(machine, 2, 2);
    machine.processors.masks = platform::ProcessorMasks{0x8000000000000005, 0x8000000000000005};

    EXPECT_EQ(Count(machine).code, 3);  // the ids of processors 0, 2 and 63 are 0 here

    std::vector<std::string> moves;
    for (const std::string& call : machine.log) {
        if (call.starts_with("Confine") || call == "GiveUpTurn") moves.push_back(call);
    }
    EXPECT_THAT(moves, ElementsAre("Confine 1", "GiveUpTurn", "Confine 4", "GiveUpTurn", "Confine 9223372036854775808",
                                   "GiveUpTurn", "Confine 9223372036854775813"));
}

TEST(ClassicCores, ReadTheIdOnTheProcessorThatTheyMovedTo) {
    FakeMachine machine;
    MakeClassic(machine, 1, 2);

    (void)Count(machine);

    EXPECT_THAT(machine.log, ElementsAre("FindList", "ProcessorCount", "Cpuid 0", "Cpuid 1",  // hyper-threading
                                         "Cpuid 0", "Cpuid 1", "Cpuid 1",                     // logical per package
                                         "ReadMasks", "Confine 1", "GiveUpTurn",              //
                                         "Cpuid 0", "Cpuid 1", "Cpuid 1",                     // the id
                                         "Confine 1"));
}

TEST(ClassicCores, PassOverProcessorsThatTheyCannotMoveTo) {
    FakeMachine machine;
    MakeClassic(machine, 4, 2);
    machine.processors.refused = {0b0010, 0b1000};  // where the siblings are

    EXPECT_EQ(Count(machine), (Counted{3, 4, 2}));
    EXPECT_EQ(std::count(machine.log.begin(), machine.log.end(), "GiveUpTurn"), 2);
    EXPECT_EQ(machine.log.back(), "Confine 15");
}

TEST(ClassicCores, AreThoseOfOneLogicalProcessorPerPackage) {
    FakeMachine machine;
    MakeClassic(machine, 2, 1);

    EXPECT_EQ(Count(machine), (Counted{2, 2, 1}));
    EXPECT_EQ(machine.log.back(), "Confine 3");  // visited all the same
}

TEST(ClassicCores, AreNotDividedWhileNoSiblingIsActive) {
    FakeMachine machine;
    MakeClassic(machine, 2, 2);
    machine.processors.apicIds = {{0, 0}, {1, 2}};

    EXPECT_EQ(Count(machine), (Counted{3, 2, 2}));
}

// The lowest bit of an id that isn't covered any more makes a sibling: one bit for 2 logical processors, two for 3 and
// 4, and so on; the mask has 8 bits and is empty from 129 on, where doubling could not reach the number any more.
TEST(ClassicCores, TellSiblingsByTheBitsBelowTheMask) {
    const struct {
        std::uint32_t logicalPerPackage;
        std::uint8_t lastSibling;   // 0: none can be
        std::uint8_t firstOfACore;  // the next id that isn't one; 0: none can be
    } rows[] = {
        {1, 0, 1},     {2, 1, 2},      {3, 2, 4},     {4, 3, 4},     {5, 4, 8},    {8, 4, 8},
        {9, 8, 16},    {16, 8, 16},    {17, 16, 32},  {32, 16, 32},  {33, 32, 64}, {64, 32, 64},
        {65, 64, 128}, {128, 64, 128}, {129, 128, 0}, {255, 128, 0},
    };
    for (const auto& row : rows) {
        FakeMachine machine;
        MakeClassic(machine, 1, row.logicalPerPackage);
        if (row.lastSibling != 0) {
            machine.processors.apicIds[0] = row.lastSibling;
            EXPECT_EQ(Count(machine).code, 1) << row.logicalPerPackage;
        }
        if (row.firstOfACore != 0) {
            machine.processors.apicIds[0] = row.firstOfACore;
            EXPECT_EQ(Count(machine).code, row.logicalPerPackage == 1 ? 2 : 3) << row.logicalPerPackage;
        }
    }
}

TEST(ClassicCores, VisitNobodyWhenTheMasksAreUnknown) {
    FakeMachine machine;
    MakeClassic(machine, 4, 2);
    machine.processors.masks.reset();

    EXPECT_EQ(Count(machine), (Counted{3, 4, 2}));
    EXPECT_EQ(machine.log.back(), "ReadMasks");

    machine.processors.SetHyperThreading(1);
    EXPECT_EQ(Count(machine), (Counted{2, 4, 1}));
}

TEST(ClassicCores, PutTheAffinityBackAlsoWhenSomethingThrows) {
    FakeMachine machine;
    MakeClassic(machine, 4, 2);
    int turns = 0;
    machine.processors.onTurn = [&turns] {
        if (++turns == 3) throw std::runtime_error("the third processor");
    };

    EXPECT_THROW((void)Count(machine), std::runtime_error);

    EXPECT_EQ(machine.log.back(), "Confine 15");
    EXPECT_EQ(machine.processors.masks->process, 0b1111u);
    EXPECT_EQ(turns, 3);
}

}  // namespace
}  // namespace probes
