#pragma once

namespace platform {

// From here on the standard output passes every byte on as it is. To be called before anything is written there.
void UseBinaryOutput();

}  // namespace platform
