#include "network_check_tool/model_files.h"

#include <stdexcept>

#include "infra/module_directory.h"

namespace network_check {

std::string ModelFileName(std::string_view model) {
    return std::string(model) + "_input.dll";
}

std::filesystem::path OwnFolder() {
    static const char kHere = 0;
    std::array<char, 4096> folder{};
    if (infra::GetModuleDirectory(&kHere, folder.data(), folder.size()) != 0) {
        throw std::runtime_error("the system doesn't tell the program's own folder");
    }
    const std::string text = folder.data();
    return {std::u8string(text.begin(), text.end())};
}

}  // namespace network_check
