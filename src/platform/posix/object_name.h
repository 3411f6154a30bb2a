#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace platform::posix {

enum class ObjectKind { Event, Mapping };

// The longest name of an object, in bytes, and the longest name that a file can have.
inline constexpr std::size_t kMaxObjectNameBytes = 259;
inline constexpr std::size_t kMaxFileNameBytes = 255;

// What the names of these files begin with, by the kind of object.
inline constexpr std::string_view kEventFilePrefix = "velmoml-e.";
inline constexpr std::string_view kMappingFilePrefix = "velmoml-m.";

// The name of the file that stands for an object, without its folder. Object names may hold any byte but NUL, so all
// but letters, digits, "_", "." and "-" are written as "%" and two upper-case hexadecimal digits, behind a prefix that
// keeps the kinds apart. A result that no file name can hold is cut and ends in "=" and a hash of the whole name.
//
// Refused is what Windows refuses: more than 259 bytes (ENAMETOOLONG), a backslash (ENOENT, a folder that is not there)
// unless it ends one of the prefixes "Global\" and "Local\". There is one namespace for the whole machine here, so both
// prefixes are dropped and name the same object as no prefix. An empty name is refused too (EINVAL): Windows makes an
// object without a name of it, which no second process could ever find.
//   error  out: an errno value when the result is empty
std::string ObjectFileName(ObjectKind kind, const std::string& name, int& error);

}  // namespace platform::posix
