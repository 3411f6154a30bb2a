#include "velmo_parent/ipc_id.h"

#include <cstddef>
#include <string_view>
#include <vector>

namespace velmo_parent {
namespace {

// What the process trims: the white space of the classic locale.
constexpr std::string_view kWhiteSpace = " \t\n\v\f\r";

std::size_t NamespacePrefixLength(const std::string& id) {
    for (const std::string_view prefix : {std::string_view("Local\\"), std::string_view("Global\\")}) {
        if (id.starts_with(prefix)) return prefix.size();
    }
    return 0;
}

bool SurvivesConversion(const std::string& id, platform::TextConversion& conversion) {
    constexpr auto kPage = platform::CodePage::ThreadAnsi;
    const int wideCount = conversion.BytesToWide(kPage, id.c_str(), nullptr, 0);
    if (wideCount <= 0) return false;
    std::vector<wchar_t> wide(static_cast<std::size_t>(wideCount));
    if (conversion.BytesToWide(kPage, id.c_str(), wide.data(), wideCount) != wideCount) return false;
    const int byteCount = conversion.WideToBytes(kPage, wide.data(), nullptr, 0);
    if (byteCount <= 0) return false;
    std::vector<char> bytes(static_cast<std::size_t>(byteCount));
    if (conversion.WideToBytes(kPage, wide.data(), bytes.data(), byteCount) != byteCount) return false;
    return id == std::string_view(bytes.data(), bytes.size() - 1);
}

}  // namespace

Outcome CheckId(const std::string& id, platform::TextConversion& conversion) {
    if (id.size() > kLongestId) {
        return Outcome::Failure("the id has " + std::to_string(id.size()) + " bytes; at most " +
                                std::to_string(kLongestId) + " leave room for the names made of it");
    }
    if (id.find('\0') != std::string::npos) return Outcome::Failure("the id holds a NUL; a command line can't");
    if (!id.empty() && (kWhiteSpace.find(id.front()) != std::string_view::npos ||
                        kWhiteSpace.find(id.back()) != std::string_view::npos)) {
        return Outcome::Failure("the id begins or ends with white space, which the process would trim");
    }
    if (id.find('\\', NamespacePrefixLength(id)) != std::string::npos) {
        return Outcome::Failure(R"(the id holds a backslash other than in a leading "Local\" or "Global\")");
    }
    if (!SurvivesConversion(id, conversion)) {
        return Outcome::Failure("the id has bytes that the thread's code page does not keep");
    }
    return Outcome::Success();
}

}  // namespace velmo_parent
