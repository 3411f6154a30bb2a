#pragma once

#include "platform/file_views.h"
#include "platform/image_format.h"
#include "platform/module_loader.h"
#include "platform/standard_streams.h"
#include "platform/text_conversion.h"

namespace hvq::util {

// The parts of the operating system that loading works on; the system's own unless a test says otherwise.
struct LoaderSeams {
    platform::ModuleLoader& modules = platform::SystemModuleLoader();
    platform::FileViews& files = platform::SystemFileViews();
    platform::StandardStreams& streams = platform::SystemStandardStreams();
    platform::TextConversion& conversion = platform::SystemTextConversion();
    // What the loader takes besides images of Windows, whose headers are judged everywhere.
    platform::ImageFormat nativeImages = platform::kNativeImageFormat;
};

}  // namespace hvq::util
