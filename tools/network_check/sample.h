#pragma once

#include <string>

#include "network_check_tool/model_run.h"

namespace network_check {

// The mask that the model makes of a held-out scene, after its own mask of the same picture, as a PGM file: what is
// kept to compare with what other systems make of it. Throws std::runtime_error.
std::string SampleMask(ModelRun& model);

}  // namespace network_check
