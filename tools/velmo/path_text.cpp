#include "velmo_tool/path_text.h"

#include "infra/wide_text.h"

namespace velmo_tool {
namespace {

// The lenient conversions count their terminator in.
template <class Text>
Text WithoutTerminator(Text text) {
    if (!text.empty()) text.pop_back();
    return text;
}

}  // namespace

std::string Utf8FromArgument(const std::string& argument) {
    const std::wstring wide = infra::Utf8ToWide(argument, platform::CodePage::System);
    return WithoutTerminator(infra::WideToUtf8(wide));
}

std::string ArgumentFromUtf8(const std::string& text) {
    return WithoutTerminator(infra::WideToUtf8(infra::Utf8ToWide(text), platform::CodePage::System));
}

std::filesystem::path PathFromUtf8(const std::string& text) {
    return std::u8string(text.begin(), text.end());
}

std::wstring WideFromUtf8(const std::string& text) {
    return WithoutTerminator(infra::Utf8ToWide(text));
}

std::string PathToUtf8(const std::filesystem::path& path) {
    const std::u8string text = path.u8string();
    return {text.begin(), text.end()};
}

}  // namespace velmo_tool
