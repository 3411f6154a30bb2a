#pragma once

#include <string>
#include <system_error>

namespace infra {

// The generic error category with the texts that this system's logs and peers know, which differ from those of some
// standard libraries: "device or resource busy", "no such process", "operation not permitted",
// "resource deadlock would occur", "resource unavailable try again", "value too large". Other codes read as the
// standard library words them. Codes are those of std::errc and compare equal to it. Thread: any.
const std::error_category& GenericCategory() noexcept;

// The text of `code` in that category.
std::string GenericErrorText(std::errc code);

// Throws std::system_error with `code` in that category; what() is exactly the text.
[[noreturn]] void ThrowSystemError(std::errc code);

}  // namespace infra
