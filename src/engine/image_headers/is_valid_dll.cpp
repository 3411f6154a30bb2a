#include "engine/image_headers/is_valid_dll.h"

#include <istream>
#include <memory>

#include "engine/image_headers/dll_architecture.h"
#include "engine/image_headers/library_headers.h"
#include "engine/system_architecture.h"
#include "infra/wide_text.h"

namespace hvq::util {
namespace {

using platform::StandardStream;

// For standard error; a path that can't be converted is left out there, but never the rest of the text.
std::string Shown(const std::wstring& path, const LoaderSeams& seams) {
    return infra::WideToUtf8(path, platform::CodePage::Utf8, seams.conversion).c_str();
}

}  // namespace

bool IsValidDll(const std::wstring& path, const LoaderSeams& seams) {
    {
        const std::unique_ptr<std::istream> file = seams.files.OpenStream(path);
        if (file == nullptr) {
            seams.streams.Write(StandardStream::Error, "Failed to open file: " + Shown(path, seams) + "\n");
            return false;
        }
        if (!HasLibraryHeaders(*file, seams.nativeImages)) return false;
    }
    const std::string system = GetSystemArchitecture(seams);
    const std::string library = GetDllArchitecture(path, seams);
    if (library != system) {
        seams.streams.Write(StandardStream::Error, "[HVQ Warning]: " + Shown(path, seams) + " architecture is ");
        seams.streams.Write(StandardStream::Error, library + ", Windows OS architecture is " + system + ". " +
                                                       "Please notice, two architectures not same.");
    }
    return true;
}

}  // namespace hvq::util
