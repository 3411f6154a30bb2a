#pragma once

#include "velmo_tool/check/check_point.h"
#include "velmo_tool/check/check_request.h"

namespace velmo_tool {

// Loads the library into this process and looks at everything that the process expects of it, in the order in which the
// process would meet it: exports, creation, strings, error protocol, lists, properties, and with a model one network
// and its inferences. Only functions that the process calls are called. Ends early where nothing behind a failure could
// be looked at. Throws std::bad_alloc only; what the library does to this process is not caught. Thread: any, one at a
// time.
void CheckLibrary(const CheckRequest& request, CheckListener& listener);

}  // namespace velmo_tool
