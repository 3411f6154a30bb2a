#pragma once

#include <array>
#include <filesystem>
#include <string>
#include <string_view>

// Where the reference networks lie.
namespace network_check {

inline constexpr std::array<std::string_view, 6> kReferenceModels = {"calyr_144p", "calyr_re_144p", "inhouse_144p",
                                                                     "calyr_360p", "calyr_re_360p", "inhouse_360p"};

// The file of a reference model in their folder: the name that the process asks for.
std::string ModelFileName(std::string_view model);

// The folder of the running program, beside which lie the library and the folder "models". Throws std::runtime_error
// when the system doesn't tell it. Thread: any.
std::filesystem::path OwnFolder();

}  // namespace network_check
