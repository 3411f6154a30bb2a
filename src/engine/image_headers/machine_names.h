#pragma once

#include <cstdint>
#include <string>

// From the machine that an image's headers name to one of the names in architecture_names.h. Thread: any.
namespace hvq::util {

// 32-bit x86 (0x014C) and the newer of the two ARM numbers (0x01C4) are unknown, as everything else.
std::string NameOfPeMachine(std::uint16_t machine);
std::string NameOfElfMachine(std::uint16_t machine);

}  // namespace hvq::util
