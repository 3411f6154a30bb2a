#pragma once

#include <memory>

#include "engine/function_handle.h"
#include "engine/shared_library.h"

namespace hvq::inference {

// Looks every function up in the library that `functionHandle` holds. Throws std::runtime_error for the first of the 58
// required names that the library lacks; what was found until then stays. The other two stay null when they are
// missing, and a line on standard error tells of each. Thread: any, before anybody else sees the record.
void BindFunctions(std::shared_ptr<FunctionHandle> functionHandle, const util::LoaderSeams& seams = {});

// Looks up only what asking for the version takes: hvqSelfVersion, hvqCreateWithLibraryLoader and hvqDestory, in this
// order. Throws std::runtime_error for the first that is missing.
void BindVersionFunctions(FunctionHandle& functions, const util::LoaderSeams& seams = {});

}  // namespace hvq::inference
