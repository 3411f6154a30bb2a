#pragma once

#include <string>

#include "network_check_tool/model_run.h"

namespace network_check {

// A mask that the model makes of a held-out scene, thinned to 64 x 36 pixels, as a PGM file: small enough to be kept,
// to compare what other systems make of it. Throws std::runtime_error.
std::string SampleMask(ModelRun& model);

}  // namespace network_check
