#include "engine/path_text.h"

#include <stdexcept>
#include <type_traits>

#include "infra/wide_text.h"

namespace hvq::inference {
namespace {

constexpr bool kPathsAreWide = std::is_same_v<std::filesystem::path::value_type, wchar_t>;

// A lenient conversion's result ends with a NUL char of its own.
template <typename Text>
Text WithoutTerminator(Text text) {
    if (!text.empty()) text.pop_back();
    return text;
}

template <typename Path>
std::wstring WideText(const Path& path, platform::TextConversion& conversion) {
    if constexpr (kPathsAreWide) {
        return path.native();
    } else {
        return WithoutTerminator(infra::Utf8ToWide(path.native(), platform::CodePage::ThreadAnsi, conversion));
    }
}

template <typename Path>
std::string NarrowText(const Path& path, const util::LoaderSeams& seams) {
    if constexpr (kPathsAreWide) {
        std::string narrow =
            WithoutTerminator(infra::WideToUtf8(path.native(), platform::CodePage::System, seams.conversion));
        if (seams.files.WidePath(narrow) != path.native()) {
            throw std::runtime_error("The path has no form in the file system's code page.");
        }
        return narrow;
    } else {
        return path.native();
    }
}

template <typename Path>
std::string ShownText(const Path& path, platform::TextConversion& conversion) {
    if constexpr (kPathsAreWide) {
        return infra::WideToUtf8Strict(path.native(), conversion);
    } else {
        return path.native();
    }
}

}  // namespace

std::wstring WidePathText(const std::filesystem::path& path, platform::TextConversion& conversion) {
    return WideText(path, conversion);
}

std::string NarrowPathText(const std::filesystem::path& path, const util::LoaderSeams& seams) {
    return NarrowText(path, seams);
}

std::string QuotedPathText(const std::filesystem::path& path, platform::TextConversion& conversion) {
    const std::string plain = ShownText(path, conversion);
    std::string quoted = "\"";
    for (const char one : plain) {
        if (one == '"' || one == '\\') quoted += '\\';
        quoted += one;
    }
    return quoted + '"';
}

}  // namespace hvq::inference
