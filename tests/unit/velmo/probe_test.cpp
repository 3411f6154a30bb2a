#include "velmo_tool/probe.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/fake_machine.h"
#include "velmo_tool/probe/machine_facts.h"
#include "velmo_tool/probe/probe_report.h"

namespace velmo_tool {
namespace {

using nlohmann::json;
using support::FakeMachine;
using support::FakeVersion;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

// Windows 11 on a processor of four cores.
void MakeLaptop(FakeMachine& machine) {
    machine.releases.reported = FakeVersion{2, 6, 2, 9200};
    machine.releases.real = FakeVersion{2, 10, 0, 22631};
    machine.releases.architecture = std::uint16_t{9};
    machine.processors.SetBrand("Intel(R) Core(TM) i7-8650U CPU @ 1.90GHz");
    machine.SetCores(4);
    machine.processors.masks = platform::ProcessorMasks{0b0111, 0b1111};
    machine.SetMhz(2112);
    machine.memory.totalBytes = std::uint64_t{16260} << 20;
}

std::string Shown(FakeMachine& machine, ReportForm form) {
    std::ostringstream out;
    EXPECT_EQ(Probe(form, machine.Parts(), out), 0);
    return out.str();
}

json AnswerOf(const json& report, const std::string& function) {
    for (const json& answer : report.at("answers")) {
        if (answer.at("function") == function) return answer;
    }
    return nullptr;
}

// The value under a label.
json ValueOf(const json& report, const std::string& function, const std::string& label) {
    const json answer = AnswerOf(report, function);
    for (const json& fact : answer.at("facts")) {
        if (fact.at("label") == label) return fact.at("value");
    }
    return nullptr;
}

TEST(ProbeReport, TellsTheMarkOfARestrictedProcessFromSoManyCores) {
    FakeMachine machine;
    machine.processors.SetList(std::vector<platform::ProcessorRelation>(255));
    const std::string cores = Shown(machine, ReportForm::Table);
    EXPECT_THAT(cores, HasSubstr("255"));
    EXPECT_THAT(cores, testing::Not(HasSubstr("restricted")));

    FakeMachine restricted;
    restricted.processors.SetHyperThreading(2);
    restricted.processors.masks = platform::ProcessorMasks{0b01, 0b11};
    EXPECT_THAT(Shown(restricted, ReportForm::Table), HasSubstr("255 marks a restricted process"));
}

TEST(ProbeReport, IsATableWithAHeadingForEachFunction) {
    ProbeReport report;
    report.answers = {{"First", {{"a number", std::int64_t{-12}, "MHz", "slow"}, {"flag", true, "", "set"}}, ""},
                      {"Second", {}, "what was thrown"},
                      {"Third", {{"text", "long, with nothing behind it", "", ""}, {"none", "", "", "empty"}}, ""}};
    std::ostringstream out;
    PrintTable(report, out);
    EXPECT_EQ(out.str(),
              "First\n"
              "  a number  -12 MHz  slow\n"
              "  flag      yes      set\n"
              "Second\n"
              "  failed: what was thrown\n"
              "Third\n"
              "  text      long, with nothing behind it\n"
              "  none      (empty)  empty\n");
}

TEST(ProbeReport, IsOneJsonObjectWithoutWhatIsEmpty) {
    ProbeReport report;
    report.answers = {{"First", {{"flag", false, "", ""}, {"text", "t", "unit", "meaning"}}, ""},
                      {"Second", {}, "what was thrown"}};
    std::ostringstream out;
    PrintJson(report, out);
    EXPECT_EQ(json::parse(out.str()), json::parse(R"({"answers": [
        {"function": "First", "facts": [{"label": "flag", "value": false},
                                        {"label": "text", "value": "t", "unit": "unit", "meaning": "meaning"}]},
        {"function": "Second", "error": "what was thrown"}]})"));
}

TEST(ProbeReport, ShowsEveryByteInAscii) {
    std::string all;
    for (int byte = 0; byte < 256; ++byte)
        all += static_cast<char>(byte);
    const std::string shown = ShownBytes(all);
    EXPECT_EQ(shown.size(), 94u + 2u + 161u * 4u);  // 95 printable ones, of which the backslash is doubled
    for (const char one : shown)
        EXPECT_TRUE(one >= 0x20 && one < 0x7F);
    EXPECT_EQ(ShownBytes(std::string("\0\x1f \x7e\x7f\x80", 6)), "\\x00\\x1f ~\\x7f\\x80");
}

TEST(ProbeCommand, ShowsATableWithValuesUnitsAndMeanings) {
    FakeMachine machine;
    MakeLaptop(machine);
    const std::string table = Shown(machine, ReportForm::Table);
    EXPECT_THAT(table, StartsWith("GetOsVersionClass\n"
                                  "  version class                    14          Windows 11\n"
                                  "  version                          10.0.22631  major.minor.build\n"
                                  "GetCachedOsVersionClass\n"));
    EXPECT_THAT(table, HasSubstr("\n  frequency                        1900 MHz    the smaller of"));
    EXPECT_THAT(table, EndsWith("  memory                           16384 MB    rounded to the nearest 1024 MB\n"));
}

TEST(ProbeCommand, SaysWhenThereIsNoVersion) {
    FakeMachine machine;
    EXPECT_THAT(Shown(machine, ReportForm::Table), HasSubstr("  version                          not told"));
}

TEST(ProbeCommand, AnswersForEveryProbe) {
    FakeMachine machine;
    std::set<std::string> functions;
    for (const ProbeAnswer& answer : ProbeMachine(machine.Parts()).answers) {
        EXPECT_TRUE(functions.insert(answer.function).second) << answer.function;
        EXPECT_EQ(answer.error, "") << answer.function;
        EXPECT_FALSE(answer.facts.empty()) << answer.function;
    }
    EXPECT_EQ(functions.size(), 17u);
}

TEST(ProbeCommand, PrintsOneJsonObject) {
    FakeMachine machine;
    MakeLaptop(machine);

    const json report = json::parse(Shown(machine, ReportForm::Json));

    EXPECT_EQ(ValueOf(report, "GetOsVersionClass", "version class"), 14);
    EXPECT_EQ(ValueOf(report, "ReadRtlVersion", "version"), "10.0.22631");
    EXPECT_EQ(ValueOf(report, "IsNative64Bit", "64-bit machine"), true);
    EXPECT_EQ(ValueOf(report, "ProcessorArchitectureName", "architecture"), "x86_64");
    EXPECT_EQ(ValueOf(report, "ReadProcessorBrand", "brand"), "Intel(R) Core(TM) i7-8650U CPU @ 1.90GHz");
    EXPECT_EQ(ValueOf(report, "ParseProcessorBrand", "generation"), 8650);
    EXPECT_EQ(ValueOf(report, "ParseSuffixNumber", "tier"), 7);
    EXPECT_EQ(ValueOf(report, "CountProcessorCores", "physical cores"), 4);
    EXPECT_EQ(ValueOf(report, "CountMaskBits", "processors of this process"), 3);
    EXPECT_EQ(ValueOf(report, "IsStrongProcessor", "strong processor"), true);
    EXPECT_EQ(ValueOf(report, "ReadInstalledMemoryMb", "memory"), 16384);
    const json frequency = AnswerOf(report, "ReadProcessorMhz").at("facts").at(0);
    EXPECT_EQ(frequency, (json{{"label", "frequency"},
                               {"value", 1900},
                               {"unit", "MHz"},
                               {"meaning", "the smaller of the system's and the brand's"}}));
}

TEST(ProbeCommand, ShowsBytesOfTheBrandThatAreNoText) {
    FakeMachine machine;
    machine.processors.SetBrand("A\x1B[31m\\ \"\xFF\xC3\xA9\x7F");

    const std::string expected = "A\\x1b[31m\\\\ \"\\xff\\xc3\\xa9\\x7f";
    EXPECT_THAT(Shown(machine, ReportForm::Table), HasSubstr(" " + expected + "\n"));
    const json report = json::parse(Shown(machine, ReportForm::Json));
    EXPECT_EQ(ValueOf(report, "ReadProcessorBrand", "brand"), expected);
}

TEST(ProbeCommand, TellsWhatAProbeThrowsAndGoesOn) {
    FakeMachine machine;
    machine.processors.SetBrand("Intel(R) Core(TM) i7-99999999999");
    machine.SetCores(4);

    EXPECT_THAT(Shown(machine, ReportForm::Table),
                HasSubstr("ParseProcessorBrand\n  failed: stoi argument out of range\n"));
    const json report = json::parse(Shown(machine, ReportForm::Json));
    for (const char* const function : {"ParseProcessorBrand", "ParseSuffixNumber", "IsStrongProcessor"}) {
        EXPECT_EQ(AnswerOf(report, function), (json{{"function", function}, {"error", "stoi argument out of range"}}));
    }
    EXPECT_EQ(ValueOf(report, "CountProcessorCores", "physical cores"), 4);
}

TEST(ProbeCommand, NamesEveryVersionClass) {
    const struct {
        FakeVersion version;
        const char* name;
    } rows[] = {
        {{0, 0, 0, 0}, "unknown, or the query failed"},
        {{2, 4, 0, 0}, "NT 4 or earlier"},
        {{1, 4, 0, 0}, "Windows 95"},
        {{1, 4, 10, 0}, "Windows 98"},
        {{1, 4, 90, 0}, "Windows Me"},
        {{2, 5, 0, 0}, "Windows 2000"},
        {{2, 5, 1, 0}, "Windows XP"},
        {{2, 5, 2, 0}, "Windows Server 2003"},
        {{2, 6, 0, 0}, "Windows Vista"},
        {{2, 6, 1, 0}, "Windows 7"},
        {{2, 6, 2, 0}, "Windows 8"},
        {{2, 6, 3, 0}, "Windows 8.1"},
        {{2, 10, 0, 0}, "Windows 10"},
        {{2, 10, 0, 21996}, "Windows 11"},
        {{2, 11, 0, 0}, "later than known"},
    };
    for (const auto& row : rows) {
        FakeMachine machine;
        machine.releases.reported = row.version;
        const ProbeReport report = ProbeMachine(machine.Parts());
        EXPECT_EQ(report.answers.front().facts.front().meaning, row.name);
    }
}

std::string CodeMeaning(FakeMachine& machine) {
    const json report = json::parse(Shown(machine, ReportForm::Json));
    return AnswerOf(report, "CountProcessorCores").at("facts").at(2).at("meaning");
}

TEST(ProbeCommand, ExplainsTheCodesOfTheCoreCount) {
    FakeMachine machine;
    EXPECT_THAT(CodeMeaning(machine), HasSubstr("counted from the system's list"));

    machine.processors.SetHyperThreading(2);
    machine.processors.masks = platform::ProcessorMasks{1, 3};
    EXPECT_THAT(CodeMeaning(machine), HasSubstr("may not run on all processors"));

    machine.processors.masks = platform::ProcessorMasks{1, 1};
    EXPECT_THAT(CodeMeaning(machine), HasSubstr("none is active"));

    machine.processors.apicIds[0] = 1;
    EXPECT_EQ(CodeMeaning(machine), "several logical processors per core are in use");

    machine.processors.SetHyperThreading(1);
    EXPECT_EQ(CodeMeaning(machine), "one logical processor per package");
}

TEST(ProbeCommand, WorksOnThisMachine) {
    std::ostringstream table;
    std::ostringstream object;
    EXPECT_EQ(Probe(ReportForm::Table, platform::ThisMachine(), table), 0);
    EXPECT_EQ(Probe(ReportForm::Json, platform::ThisMachine(), object), 0);
    EXPECT_THAT(table.str(), HasSubstr("IsStrongProcessor\n"));
    EXPECT_EQ(json::parse(object.str()).at("answers").size(), 17u);
}

}  // namespace
}  // namespace velmo_tool
