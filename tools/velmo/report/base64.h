#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace velmo_report {

// As in data URIs: with "+", "/" and padding.
std::string Base64(std::span<const std::uint8_t> bytes);

}  // namespace velmo_report
