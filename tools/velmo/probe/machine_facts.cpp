#include "velmo_tool/probe/machine_facts.h"

#include <array>
#include <atomic>
#include <exception>
#include <utility>

#include "probes/brand_parser.h"
#include "probes/installed_memory.h"
#include "probes/kernel_product.h"
#include "probes/logical_processors.h"
#include "probes/native_word.h"
#include "probes/os_version.h"
#include "probes/processor_brand.h"
#include "probes/processor_cores.h"
#include "probes/processor_frequency.h"
#include "probes/strong_processor.h"

namespace velmo_tool {
namespace {

using Facts = std::vector<ProbeFact>;

constexpr char kVersionForm[] = "major.minor.build";

std::string VersionClassName(std::int32_t versionClass) {
    constexpr std::array kNames = {"unknown, or the query failed",
                                   "unused",
                                   "NT 4 or earlier",
                                   "Windows 95",
                                   "Windows 98",
                                   "Windows Me",
                                   "Windows 2000",
                                   "Windows XP",
                                   "Windows Server 2003",
                                   "Windows Vista",
                                   "Windows 7",
                                   "Windows 8",
                                   "Windows 8.1",
                                   "Windows 10",
                                   "Windows 11"};
    if (versionClass >= 0 && static_cast<std::size_t>(versionClass) < kNames.size())
        return kNames[static_cast<std::size_t>(versionClass)];
    return "later than known";
}

std::string CoreCodeMeaning(std::int32_t code, std::uint32_t physicalCores) {
    switch (code) {
        case probes::kCoresCounted:
            return "counted from the system's list, or nothing is known of siblings";
        case probes::kSeveralLogicalInUse:
            return physicalCores == probes::kRestrictedProcess
                       ? "this process may not run on all processors, so nothing was counted"
                       : "several logical processors per core are in use";
        case probes::kOneLogicalPerPackage:
            return "one logical processor per package";
        default:
            return "the package could run more logical processors, but none is active";
    }
}

// All three are 0 when nobody wrote them.
std::string VersionText(std::uint32_t major, std::uint32_t minor, std::uint32_t build) {
    if (major == 0 && minor == 0 && build == 0) return "not told";
    return std::to_string(major) + "." + std::to_string(minor) + "." + std::to_string(build);
}

ProbeFact Number(const char* label, std::int64_t value, const char* unit = "", const std::string& meaning = "") {
    return {label, value, unit, meaning};
}

ProbeFact Flag(const char* label, bool value, const std::string& meaning) {
    return {label, value, "", meaning};
}

ProbeFact Text(const char* label, const std::string& bytes, const std::string& meaning = "") {
    return {label, ShownBytes(bytes), "", meaning};
}

Facts OsVersionClass(const platform::Machine& machine) {
    std::uint32_t major = 0;
    std::uint32_t minor = 0;
    std::uint32_t build = 0;
    const std::int32_t versionClass = probes::GetOsVersionClass(major, minor, build, machine);
    return {Number("version class", versionClass, "", VersionClassName(versionClass)),
            Text("version", VersionText(major, minor, build), kVersionForm)};
}

Facts CachedOsVersionClass(const platform::Machine& machine) {
    std::atomic<std::int32_t> cached = 0;
    const std::int32_t versionClass = probes::GetCachedOsVersionClass(cached, machine);
    return {Number("version class", versionClass, "", VersionClassName(versionClass))};
}

Facts KernelProductMajor(const platform::Machine& machine) {
    const std::uint32_t major = probes::ReadKernelProductMajor(machine);
    return {Number("product version of kernel32.dll", major, "", major == 0 ? "can't be read" : "major number")};
}

Facts RtlVersion(const platform::Machine& machine) {
    platform::VersionRecord record;
    if (!probes::ReadRtlVersion(record, machine))
        return {Flag("answers", false, "no RtlGetVersion here, or it failed")};
    return {Flag("answers", true, "the version behind the compatibility layer"),
            Text("version", VersionText(record.major, record.minor, record.build), kVersionForm)};
}

Facts Native64Bit(const platform::Machine& machine) {
    const bool is64Bit = probes::IsNative64Bit(machine);
    return {Flag("64-bit machine", is64Bit,
                 is64Bit ? "Itanium, x64 or 64-bit Arm" : "another, or the system doesn't tell")};
}

Facts ArchitectureName(const platform::Machine& /*machine*/) {
    return {Text("architecture", probes::ProcessorArchitectureName(), "fixed: nothing is looked at")};
}

Facts Brand(const platform::Machine& machine) {
    return {Text("brand", probes::ReadProcessorBrand(machine))};
}

Facts Cores(const platform::Machine& machine) {
    std::uint32_t physicalCores = 0;
    std::uint32_t logicalPerCore = 0;
    const std::int32_t code = probes::CountProcessorCores(physicalCores, logicalPerCore, machine);
    const bool isMarked = code == probes::kSeveralLogicalInUse && physicalCores == probes::kRestrictedProcess;
    return {Number("physical cores", physicalCores, "", isMarked ? "255 marks a restricted process" : ""),
            Number("logical processors per core", logicalPerCore, "", "truncated"),
            Number("code", code, "", CoreCodeMeaning(code, physicalCores))};
}

Facts Frequency(const platform::Machine& machine) {
    const std::uint32_t mhz = probes::ReadProcessorMhz(machine);
    return {Number("frequency", mhz, "MHz", mhz == 0 ? "unknown" : "the smaller of the system's and the brand's")};
}

struct ParsedBrand {
    std::string suffix;
    std::uint32_t generation = 0;
    bool isIntel = false;
    std::string family;
    bool isUnderstood = false;
};

ParsedBrand Parse(const platform::Machine& machine) {
    ParsedBrand parsed;
    parsed.isUnderstood = probes::ParseProcessorBrand(probes::ReadProcessorBrand(machine), parsed.suffix,
                                                      parsed.generation, parsed.isIntel, parsed.family);
    return parsed;
}

Facts ParsedFacts(const platform::Machine& machine) {
    const ParsedBrand parsed = Parse(machine);
    return {Flag("understood", parsed.isUnderstood,
                 parsed.isUnderstood ? "the model was read, or is another maker's"
                                     : "the model was not found in the brand"),
            Flag("Intel", parsed.isIntel, parsed.isIntel ? "the brand names Intel" : "the brand does not name Intel"),
            Text("family", parsed.family, "the family's word, or the brand's second one"),
            Text("suffix", parsed.suffix, "what stands before the model's number"),
            Number("generation", parsed.generation, "", "the model's whole number; of a Ryzen its first digit")};
}

Facts SuffixNumber(const platform::Machine& machine) {
    return {
        Number("tier", probes::ParseSuffixNumber(Parse(machine).suffix), "", "the number in the suffix, 0 for none")};
}

Facts Strong(const platform::Machine& machine) {
    const bool isStrong = probes::IsStrongProcessor(machine);
    return {Flag("strong processor", isStrong,
                 isStrong ? "8 cores or more, or from 4 a Core i7 and above, or a Xeon"
                          : "below 8 cores, and no Core i7 and above or Xeon with 4")};
}

Facts Memory(const platform::Machine& machine) {
    return {Number("memory", probes::ReadInstalledMemoryMb(machine), "MB", "rounded to the nearest 1024 MB")};
}

Facts HyperThreading(const platform::Machine& machine) {
    const bool has = probes::HasHyperThreading(machine) != 0;
    return {Flag("hyper-threading", has,
                 has ? "the processor says so" : "no, or not of the Intel families that are believed")};
}

Facts LogicalPerPackage(const platform::Machine& machine) {
    return {Number("logical processors per package", probes::ReadLogicalPerPackage(machine), "",
                   "1 without hyper-threading")};
}

Facts InitialApicId(const platform::Machine& machine) {
    return {Number("initial APIC id", probes::ReadInitialApicId(machine), "", "255 without hyper-threading")};
}

Facts MaskBits(const platform::Machine& machine) {
    platform::ProcessorMasks masks;
    const bool known = machine.affinity.ReadMasks(masks);
    return {Number("processors of this process", probes::CountMaskBits(masks.process), "",
                   known ? "set bits in its affinity mask" : "the system does not tell the mask")};
}

ProbeAnswer Ask(const char* function, Facts (*probe)(const platform::Machine&), const platform::Machine& machine) {
    ProbeAnswer answer;
    answer.function = function;
    try {
        answer.facts = probe(machine);
    } catch (const std::exception& error) {
        answer.error = ShownBytes(error.what());
    }
    return answer;
}

}  // namespace

ProbeReport ProbeMachine(const platform::Machine& machine) {
    constexpr std::pair<const char*, Facts (*)(const platform::Machine&)> kProbes[] = {
        {"GetOsVersionClass", OsVersionClass},
        {"GetCachedOsVersionClass", CachedOsVersionClass},
        {"ReadKernelProductMajor", KernelProductMajor},
        {"ReadRtlVersion", RtlVersion},
        {"IsNative64Bit", Native64Bit},
        {"ProcessorArchitectureName", ArchitectureName},
        {"ReadProcessorBrand", Brand},
        {"ParseProcessorBrand", ParsedFacts},
        {"ParseSuffixNumber", SuffixNumber},
        {"CountProcessorCores", Cores},
        {"HasHyperThreading", HyperThreading},
        {"ReadLogicalPerPackage", LogicalPerPackage},
        {"ReadInitialApicId", InitialApicId},
        {"CountMaskBits", MaskBits},
        {"ReadProcessorMhz", Frequency},
        {"IsStrongProcessor", Strong},
        {"ReadInstalledMemoryMb", Memory},
    };
    ProbeReport report;
    for (const auto& [function, probe] : kProbes)
        report.answers.push_back(Ask(function, probe, machine));
    return report;
}

}  // namespace velmo_tool
