#include "platform/posix/processor_files.h"

#include <gmock/gmock.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>

namespace {

using platform::ProcessorRelation;
using platform::posix::NominalMhz;
using platform::posix::OnlineProcessors;
using platform::posix::ParseProcessorList;
using platform::posix::ReadCores;
using testing::ElementsAre;
using testing::Optional;

// A folder as the kernel's, in the file system, for the length of a test.
class ProcessorFiles : public testing::Test {
 protected:
    ProcessorFiles() {
        std::string pattern = (std::filesystem::temp_directory_path() / "velmoml-processors-XXXXXX").string();
        m_folder = ::mkdtemp(pattern.data());
    }
    ~ProcessorFiles() override { std::filesystem::remove_all(m_folder); }

    void Put(const std::string& name, const std::string& text) const {
        const std::filesystem::path path = std::filesystem::path(m_folder) / name;
        std::filesystem::create_directories(path.parent_path());
        std::ofstream(path) << text;
    }

    void PutSiblings(int processor, const std::string& list) const {
        Put("cpu" + std::to_string(processor) + "/topology/core_cpus_list", list + "\n");
    }

    // The masks of the cores that are read.
    std::optional<std::vector<std::uint64_t>> Masks() const {
        const auto cores = ReadCores(m_folder);
        if (!cores) return std::nullopt;
        std::vector<std::uint64_t> masks;
        for (const ProcessorRelation& core : *cores) {
            EXPECT_EQ(core.relationship, platform::kRelationCore);
            masks.push_back(core.processorMask);
        }
        return masks;
    }

    std::uint32_t Mhz() const { return NominalMhz(m_folder, m_folder + "/cpuinfo"); }

    std::string m_folder;
};

TEST(ProcessorList, HasNumbersAndRanges) {
    EXPECT_THAT(ParseProcessorList("0\n"), Optional(ElementsAre(0)));
    EXPECT_THAT(ParseProcessorList("0-3,8"), Optional(ElementsAre(0, 1, 2, 3, 8)));
    EXPECT_THAT(ParseProcessorList("5,64-65\n"), Optional(ElementsAre(5, 64, 65)));
    EXPECT_THAT(ParseProcessorList("7-7"), Optional(ElementsAre(7)));
}

TEST(ProcessorList, IsNoneInAnyOtherForm) {
    for (const char* const text :
         {"", "\n", ",", "0,", "-1", "3-", "3-1", "0-3x", "0 1", "a", "0-99999999", "65536", "99999999999"}) {
        EXPECT_EQ(ParseProcessorList(text), std::nullopt) << text;
    }
    EXPECT_TRUE(ParseProcessorList("65535"));
}

TEST_F(ProcessorFiles, AreNeededForTheOnlineProcessors) {
    EXPECT_EQ(OnlineProcessors(m_folder), std::nullopt);
    Put("online", "0-1\n");
    EXPECT_THAT(OnlineProcessors(m_folder), Optional(ElementsAre(0, 1)));
}

TEST_F(ProcessorFiles, GiveACoreForEachGroupOfSiblings) {
    Put("online", "0-3\n");
    PutSiblings(0, "0,2");
    PutSiblings(1, "1,3");
    PutSiblings(2, "0,2");
    PutSiblings(3, "1,3");

    EXPECT_THAT(Masks(), Optional(ElementsAre(0b0101, 0b1010)));
}

TEST_F(ProcessorFiles, MayHaveTheNamesOfOlderKernels) {
    Put("online", "0-1\n");
    Put("cpu0/topology/thread_siblings_list", "0-1\n");

    EXPECT_THAT(Masks(), Optional(ElementsAre(0b11)));
}

TEST_F(ProcessorFiles, ShowProcessorsThatAreOnlineOnly) {
    Put("online", "1,4\n");
    PutSiblings(1, "1");
    PutSiblings(4, "4");

    EXPECT_THAT(Masks(), Optional(ElementsAre(0b10, 0b10000)));
}

TEST_F(ProcessorFiles, GiveLowBitsToCoresThatNoMaskCanName) {
    Put("online", "0-1,63-66\n");
    PutSiblings(0, "0,64");
    PutSiblings(1, "1");
    PutSiblings(63, "63");
    PutSiblings(65, "65-66");

    EXPECT_THAT(Masks(), Optional(ElementsAre(0b11, 0b10, 0x8000000000000000, 0b11)));
}

TEST_F(ProcessorFiles, GiveAllBitsToACoreWithMoreThan64Processors) {
    Put("online", "0-69\n");
    PutSiblings(0, "0-69");

    EXPECT_THAT(Masks(), Optional(ElementsAre(0xFFFFFFFFFFFFFFFF)));
}

TEST_F(ProcessorFiles, GiveNothingWhenOneProcessorIsNotTold) {
    EXPECT_EQ(Masks(), std::nullopt);
    Put("online", "0-1\n");
    PutSiblings(0, "0");
    EXPECT_EQ(Masks(), std::nullopt);
    PutSiblings(1, "one");
    EXPECT_EQ(Masks(), std::nullopt);
}

TEST_F(ProcessorFiles, TellTheBaseFrequencyInKilohertz) {
    Put("cpu0/cpufreq/base_frequency", "2419999\n");
    Put("cpuinfo", "cpu MHz\t\t: 800.000\n");
    EXPECT_EQ(Mhz(), 2419u);
}

TEST_F(ProcessorFiles, TellTheFrequencyOfTheFirstProcessorInTheTable) {
    Put("cpuinfo", "processor\t: 0\nmodel name\t: 11\ncpu MHz\t\t: 2299.998\n\nprocessor\t: 1\ncpu MHz\t\t: 800.000\n");
    EXPECT_EQ(Mhz(), 2299u);

    Put("cpu0/cpufreq/base_frequency", "unknown\n");
    EXPECT_EQ(Mhz(), 2299u);
}

TEST_F(ProcessorFiles, TellNoFrequencyOnSomeMachines) {
    EXPECT_EQ(Mhz(), 0u);
    Put("cpuinfo", "processor\t: 0\nBogoMIPS\t: 48.00\n");
    EXPECT_EQ(Mhz(), 0u);
    Put("cpuinfo", "cpu MHz\t\t: unknown\n");
    EXPECT_EQ(Mhz(), 0u);
    Put("cpuinfo", "cpu MHz");
    EXPECT_EQ(Mhz(), 0u);
}

}  // namespace
