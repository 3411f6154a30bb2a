#include "engine/image_headers/dll_architecture.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string_view>

#include "engine/architecture_names.h"
#include "engine/image_headers/image_format_facts.h"
#include "engine/image_headers/machine_names.h"

namespace hvq::util {
namespace {

// Both readers of headers keep bounds of their own, on purpose: this one only names a machine and wants the whole
// headers of a 64-bit image for that, so a small file can be a valid library and still be unknown here.

// A name, or what stands in the way of one.
struct Answer {
    std::string name;
    std::string_view problem;
};

Answer NameIn(std::span<const std::byte> image, platform::ImageFormat nativeImages) {
    if (nativeImages == platform::ImageFormat::Elf && image.size() >= kElfHeaderBytes &&
        Read32(image, 0) == kElfMagic) {
        return {NameOfElfMachine(Read16(image, kElfMachineField)), {}};
    }
    if (Read16(image, 0) != kDosMagic) return {{}, "Not a valid PE image (DOS signature mismatch)."};
    const auto ntHeadersAt = static_cast<std::int32_t>(Read32(image, kNtHeadersField));
    if (ntHeadersAt < 0) return {{}, "Not a valid PE image (negative e_lfanew)."};
    const auto headers = static_cast<std::uint64_t>(ntHeadersAt);
    if (ntHeadersAt > kNtHeadersLast || headers + kNtHeadersBytes > image.size()) {
        return {{}, "Not a valid PE image (e_lfanew out of bounds)."};
    }
    if (Read32(image, headers) != kPeSignature) return {{}, "Not a valid PE image."};
    return {NameOfPeMachine(Read16(image, headers + kMachineField)), {}};
}

// What is open goes when this returns, before anything is said.
Answer NameOf(const std::wstring& path, const LoaderSeams& seams) {
    const std::unique_ptr<platform::FileView> file = seams.files.Open(path);
    if (file == nullptr) return {{}, "Failed to open DLL file."};
    const std::optional<std::uint64_t> bytes = file->Size();
    if (!bytes || *bytes < 1) return {{}, "Failed to get DLL file size."};
    if (!file->CreateMapping()) return {{}, "Failed to create file mapping."};
    const std::byte* const view = file->Map();
    if (view == nullptr) return {{}, "Failed to map view of file."};
    return NameIn({view, static_cast<std::size_t>(*bytes)}, seams.nativeImages);
}

}  // namespace

std::string GetDllArchitecture(const std::wstring& path, const LoaderSeams& seams) {
    Answer answer = NameOf(path, seams);
    if (answer.problem.empty()) return answer.name;
    seams.streams.Write(platform::StandardStream::Error, std::string(answer.problem) + "\n");
    return kNameUnknown;
}

}  // namespace hvq::util
