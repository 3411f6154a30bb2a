#pragma once

#include <filesystem>
#include <string>

#include "engine/loader_seams.h"
#include "platform/text_conversion.h"

// A path as the texts that the loader and the library take. The standard library's own conversions are not used: they
// differ between systems and compilers in the narrow encoding, and throw for names that no encoding knows.
// Thread: any. All throw std::bad_alloc.
namespace hvq::inference {

// The path as wide text. On Linux, where a path is bytes, those that are no UTF-8 become chars that the loader turns
// back into these bytes.
std::wstring WidePathText(const std::filesystem::path& path, platform::TextConversion& conversion);

// The path in the system's code page, which is the file system's too unless the program has changed that; on Linux the
// path's own bytes. Throws std::runtime_error when the code page lacks one of its chars: what stands for it would name
// another file.
std::string NarrowPathText(const std::filesystem::path& path, const util::LoaderSeams& seams);

// The path to be shown: in UTF-8, in double quotes, each double quote and backslash behind a backslash.
// Throws std::runtime_error for a path that can't be converted.
std::string QuotedPathText(const std::filesystem::path& path, platform::TextConversion& conversion);

}  // namespace hvq::inference
