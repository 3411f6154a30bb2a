#pragma once

#include <ostream>
#include <string>

#include "platform/kernel_objects.h"

namespace velmo_tool {

// Shows the five live channels of the link `id` on `out`: the size of each mapping, both lists, and the oldest message.
// Looks only: mappings are opened to be read, no event is opened or made, and no byte is changed.
// Returns the program's exit code: 0; 1 when no channel of that id is there, with a line on `errors`; 2 when something
// in a channel can't be right.
// Thread: any.
int Inspect(const std::string& id, platform::KernelObjects& kernelObjects, std::ostream& out, std::ostream& errors);

}  // namespace velmo_tool
