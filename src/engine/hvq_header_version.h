#pragma once

namespace hvq::inference {

// The version of the inference library that this program was built against. Compared byte for byte, without any
// ordering; a library of another version is used all the same, after a warning.
inline constexpr char HVQ_HEADER_VERSION[] = "2026.03.18-1bca487a(x64)";

}  // namespace hvq::inference
