#include "platform/posix/processor_files.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <fstream>
#include <set>

namespace platform::posix {
namespace {

constexpr std::uint32_t kLastProcessor = 65535;
constexpr std::uint32_t kMaskBits = 64;

std::optional<std::string> FirstLine(const std::string& path) {
    std::ifstream file(path);
    std::string line;
    if (!std::getline(file, line)) return std::nullopt;
    return line;
}

// Takes a decimal number off the front of `text`.
std::optional<std::uint32_t> TakeNumber(std::string_view& text) {
    std::uint32_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc()) return std::nullopt;
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return number;
}

bool TakeChar(std::string_view& text, char expected) {
    if (!text.starts_with(expected)) return false;
    text.remove_prefix(1);
    return true;
}

// The processors of the core that `processor` belongs to. The second name is that of older kernels.
std::optional<std::vector<std::uint32_t>> CoreSiblings(const std::string& folder, std::uint32_t processor) {
    const std::string topology = folder + "/cpu" + std::to_string(processor) + "/topology/";
    std::optional<std::string> line = FirstLine(topology + "core_cpus_list");
    if (!line) line = FirstLine(topology + "thread_siblings_list");
    return line ? ParseProcessorList(*line) : std::nullopt;
}

std::uint64_t MaskOf(const std::vector<std::uint32_t>& processors) {
    const bool fits =
        std::all_of(processors.begin(), processors.end(), [](std::uint32_t one) { return one < kMaskBits; });
    std::uint64_t mask = 0;
    std::uint32_t next = 0;
    for (const std::uint32_t processor : processors) {
        const std::uint32_t bit = fits ? processor : next++;
        if (bit < kMaskBits) mask |= std::uint64_t{1} << bit;
    }
    return mask;
}

}  // namespace

std::optional<std::vector<std::uint32_t>> ParseProcessorList(std::string_view text) {
    if (text.ends_with('\n')) text.remove_suffix(1);
    std::vector<std::uint32_t> processors;
    do {
        const std::optional<std::uint32_t> first = TakeNumber(text);
        const std::optional<std::uint32_t> last = TakeChar(text, '-') ? TakeNumber(text) : first;
        if (!first || !last || *last < *first || *last > kLastProcessor) return std::nullopt;
        for (std::uint32_t processor = *first; processor <= *last; ++processor)
            processors.push_back(processor);
    } while (TakeChar(text, ','));
    if (!text.empty()) return std::nullopt;
    return processors;
}

std::optional<std::vector<std::uint32_t>> OnlineProcessors(const std::string& folder) {
    const std::optional<std::string> line = FirstLine(folder + "/online");
    return line ? ParseProcessorList(*line) : std::nullopt;
}

std::optional<std::vector<ProcessorRelation>> ReadCores(const std::string& folder) {
    const auto online = OnlineProcessors(folder);
    if (!online) return std::nullopt;
    std::vector<ProcessorRelation> cores;
    std::set<std::uint32_t> seen;
    for (const std::uint32_t processor : *online) {
        if (seen.count(processor) != 0) continue;
        const auto siblings = CoreSiblings(folder, processor);
        if (!siblings) return std::nullopt;
        seen.insert(siblings->begin(), siblings->end());
        ProcessorRelation core;
        core.processorMask = MaskOf(*siblings);
        core.relationship = kRelationCore;
        cores.push_back(core);
    }
    return cores;
}

std::uint32_t NominalMhz(const std::string& folder, const std::string& infoFile) {
    if (const auto line = FirstLine(folder + "/cpu0/cpufreq/base_frequency")) {
        std::string_view text = *line;
        if (const auto kiloHertz = TakeNumber(text)) return *kiloHertz / 1000;
    }
    std::ifstream file(infoFile);
    std::string line;
    while (std::getline(file, line)) {
        if (!line.starts_with("cpu MHz")) continue;
        std::string_view text = line;
        text.remove_prefix(std::min(text.size(), text.find_first_of("0123456789")));
        return TakeNumber(text).value_or(0);
    }
    return 0;
}

}  // namespace platform::posix
