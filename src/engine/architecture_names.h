#pragma once

// All the names of an architecture, of an image and of the system alike.
namespace hvq::util {

inline constexpr char kNameArm[] = "WIN-ARM";
inline constexpr char kNameIa64[] = "WIN-IA64";
inline constexpr char kNameAmd64[] = "WIN-AMD64";
inline constexpr char kNameArm64[] = "WIN-ARM64";
inline constexpr char kNameUnknown[] = "WIN-UNKNOWN";

}  // namespace hvq::util
