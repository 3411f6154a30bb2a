#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/core_list.h"

// The files in which Linux tells about its processors.
namespace platform::posix {

inline constexpr char kProcessorFolder[] = "/sys/devices/system/cpu";
inline constexpr char kProcessorInfoFile[] = "/proc/cpuinfo";

// Reads a list as "0-3,8", with an optional line end: the numbers in their order. Nothing for any other text, for
// ranges that run backwards, and for numbers above 65535, which no kernel has.
std::optional<std::vector<std::uint32_t>> ParseProcessorList(std::string_view text);

// The logical processors that are online. Nothing when `folder` does not tell, or tells of none.
std::optional<std::vector<std::uint32_t>> OnlineProcessors(const std::string& folder);

// A record for each core that has a processor online, in the order of each core's first processor. Nothing when
// `folder` does not tell of all of them.
std::optional<std::vector<ProcessorRelation>> ReadCores(const std::string& folder);

// The frequency that the first processor is sold for, in MHz: what its driver calls the base frequency, or else what
// `infoFile` says, which may be the frequency of the moment. Truncated. 0 when neither tells.
std::uint32_t NominalMhz(const std::string& folder, const std::string& infoFile);

}  // namespace platform::posix
