// Runs the reference networks through the stand-in library on drawn scenes that no training saw, and prints how good,
// how steady and how fast they are.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "infra/module_directory.h"
#include "network_check_tool/evaluation.h"
#include "network_check_tool/model_run.h"
#include "network_check_tool/sample.h"

namespace {

constexpr int kSpeedRounds = 300;
const std::vector<std::string> kModels = {"calyr_144p_input.dll", "calyr_re_144p_input.dll", "inhouse_144p_input.dll",
                                          "calyr_360p_input.dll", "calyr_re_360p_input.dll", "inhouse_360p_input.dll"};

std::filesystem::path OwnFolder() {
    static const char kHere = 0;
    std::array<char, 4096> folder{};
    if (infra::GetModuleDirectory(&kHere, folder.data(), folder.size()) != 0) return {};
    const std::string text = folder.data();
    return {std::u8string(text.begin(), text.end())};
}

// Speed alone: the fastest and the median of many rounds on a picture of stripes.
void PrintSpeed(network_check::ModelRun& model, const std::string& name) {
    const std::size_t pixels = static_cast<std::size_t>(model.Width()) * static_cast<std::size_t>(model.Height());
    std::vector<std::uint8_t> rgb(3 * pixels);
    for (std::size_t i = 0; i < rgb.size(); ++i)
        rgb[i] = static_cast<std::uint8_t>(i * 7 % 251);
    const std::vector<std::uint8_t> previous(pixels, 0);
    std::vector<double> took;
    for (int i = 0; i < kSpeedRounds; ++i) {
        model.Infer(rgb, previous);
        took.push_back(model.LastMilliseconds());
    }
    std::sort(took.begin(), took.end());
    std::printf("%-26s %8.2f %8.2f\n", name.c_str(), took.front(), took[took.size() / 2]);
}

// For tests/unit/networks/expected. The families share their weights, so calyr's samples are enough there.
void WriteSample(network_check::ModelRun& model, const std::string& name, const std::filesystem::path& folder) {
    const std::filesystem::path file = folder / (name.substr(0, name.find("_input")) + ".pgm");
    const std::string sample = network_check::SampleMask(model);
    std::ofstream stream(file, std::ios::binary);
    stream.write(sample.data(), static_cast<std::streamsize>(sample.size()));
    stream.close();
    if (!stream) throw std::runtime_error(file.string() + " can't be written");
}

void PrintFindings(const network_check::Findings& found, const std::string& name, std::uintmax_t bytes) {
    std::printf("%-26s %7.0f %7.4f %7.4f %8.4f %8.4f %7.2f", name.c_str(), static_cast<double>(bytes) / 1000,
                found.overlapAlone, found.overlapFollowing, found.steadyAlone, found.steadyFollowing,
                found.milliseconds);
    if (found.facesFound > 0) {
        std::printf(" %8.3f %6.3f %6.3f", found.gesturesRight, found.facesFound, found.facesExtra);
    }
    std::printf("\n");
    (void)std::fflush(stdout);
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app("Measures networks on drawn scenes, through the inference library", "network_check");
    int scenes = 200;
    bool onlySpeed = false;
    std::string library = (OwnFolder() / "hvq.dll").string();
    std::string folder = (OwnFolder() / "models").string();
    std::string samples;
    std::vector<std::string> files;
    app.add_option("--scenes", scenes, "Moving scenes, of four frames; half as many still ones come on top")
        ->check(CLI::Range(1, 100000));
    app.add_option("--library", library, "The inference library");
    app.add_option("--models", folder, "Folder of the six model files");
    app.add_flag("--speed", onlySpeed, "Time alone: fastest and median milliseconds");
    app.add_option("--write-samples", samples, "Only writes each network's sample mask to this folder");
    app.add_option("files", files, "Other networks instead of the six");
    CLI11_PARSE(app, argc, argv);

    if (files.empty()) {
        for (const std::string& name : kModels)
            files.push_back((std::filesystem::path(folder) / name).string());
    }
    if (!samples.empty()) {
        std::printf("Samples go to %s\n", samples.c_str());
    } else if (onlySpeed) {
        std::printf("%-26s %8s %8s\n", "", "fastest", "median");
    } else {
        std::printf("%-26s %7s %15s %17s %7s %22s\n", "", "", "overlap", "steadiness", "", "");
        std::printf("%-26s %7s %7s %7s %8s %8s %7s %8s %6s %6s\n", "", "kB", "alone", "after", "alone", "after", "ms",
                    "gesture", "faces", "extra");
    }
    try {
        for (const std::string& file : files) {
            const std::string name = std::filesystem::path(file).filename().string();
            network_check::ModelRun model(library, file);
            if (!samples.empty()) {
                WriteSample(model, name, samples);
            } else if (onlySpeed) {
                PrintSpeed(model, name);
            } else {
                PrintFindings(network_check::Evaluate(model, scenes), name, std::filesystem::file_size(file));
            }
        }
    } catch (const std::exception& error) {
        std::fprintf(stderr, "network_check: %s\n", error.what());
        return 1;
    }
    return 0;
}
