#pragma once

#include <string>
#include <vector>

#include "engine/loader_seams.h"
#include "support/fake_file_views.h"
#include "support/fake_module_loader.h"
#include "support/fake_text_conversion.h"
#include "support/recording_streams.h"

// A whole system of fakes: amd64, and its own images are those of Windows unless a test says otherwise.
struct FakedSystem {
    support::FakeModuleLoader modules;
    support::FakeFileViews files;
    support::RecordingStreams streams;
    support::FakeTextConversion conversion;
    platform::ImageFormat nativeImages = platform::ImageFormat::Pe;

    hvq::util::LoaderSeams Seams() { return {modules, files, streams, conversion, nativeImages}; }

    // What was written to standard error, one text for each write.
    std::vector<std::string> Errors() const { return streams.Texts(platform::StandardStream::Error); }

    // A path in the current folder, made absolute.
    std::string Absolute(const std::string& name) const { return modules.Folder() + platform::kPathSeparator + name; }
};
