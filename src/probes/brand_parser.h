#pragma once

#include <cstdint>
#include <string>

namespace probes {

// Reads family and model out of a processor's name for itself.
//   suffix      out: what stands before the model's number, such as "i7"
//   generation  out: in spite of its name the whole leading number of the model, 8650 for "i7-8650U"; for a brand
//               without "Intel" the first digit of the model. 0 when there is none
//   isIntel     out: whether the brand names Intel
//   family      out: "Core(TM)", "Core(TM)2", "Xeon(R)", "Celeron(R)", "Pentium(R)", "N", or else the second word
// What isn't found is left as it was: suffix and family of every brand without "Intel"; suffix of a bare name and when
// false is returned; family of fewer than two words; generation when false is returned, but that a bare name without a
// number has made it 0. Returns false when a brand of Intel's has no model that is understood; true for all others, and
// even for an empty brand. Throws std::out_of_range "stoi argument out of range" for a model number above 31 bits, with
// what was found before it in the outputs, and std::bad_alloc. Thread: any.
bool ParseProcessorBrand(const std::string& brand, std::string& suffix, std::uint32_t& generation, bool& isIntel,
                         std::string& family);

// The number behind the first char: 7 for "i7". 0 when there is none or it can't be read. Throws std::bad_alloc.
std::int32_t ParseSuffixNumber(const std::string& suffix);

}  // namespace probes
