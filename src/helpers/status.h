#pragma once

#include <cstdint>

// The numbers that a helper's operations answer with. They are bare numbers on the wire too: as the result of an Init
// (0, 2 or 3) and, signed, as the status of a frame's record (0, 2 or 4). A record never tells what Infer answers: its
// own 2 and 3 leave the output's status as it was. So does 7, the answer of a step of Infer.
namespace rvo_calyr {

inline constexpr std::uint32_t kStatusSuccess = 0;          // also when Init had nothing to do
inline constexpr std::uint32_t kStatusBadArguments = 2;     // or a model or a layer that does not fit
inline constexpr std::uint32_t kStatusNoEngine = 3;         // it could not be made, or a frame came too early
inline constexpr std::uint32_t kStatusInferenceFailed = 4;  // the inference threw
inline constexpr std::uint32_t kStatusNothingWritten = 4;   // the same number, as the status of a fresh output
inline constexpr std::uint32_t kStatusNotSupported = 7;     // the family does not produce this output

}  // namespace rvo_calyr
