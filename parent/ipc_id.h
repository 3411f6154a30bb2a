#pragma once

#include <string>

#include "platform/text_conversion.h"
#include "velmo_parent/outcome.h"

namespace velmo_parent {

// Names of objects may have 259 bytes, and the longest that is made of an id is the id and "FO_evt_avl".
inline constexpr std::size_t kLongestId = 249;

// Whether `id` reaches the process unchanged as its command line, and makes object names that the system takes: at most
// kLongestId bytes, no NUL, no white space at either end (the process trims it), no backslash but in a leading "Local\"
// or "Global\", and the same bytes after the thread's code page has turned it into wide text and back. The empty id is
// good; it names one link for the whole machine.
// Thread: any; on Windows the code page is that of the calling thread, and the process is started with it.
Outcome CheckId(const std::string& id, platform::TextConversion& conversion = platform::SystemTextConversion());

}  // namespace velmo_parent
