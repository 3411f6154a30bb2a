// Runs the reference networks through the stand-in library on drawn scenes that no training saw, and prints how good,
// how steady and how fast they are.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "network_check_tool/evaluation.h"
#include "network_check_tool/model_files.h"
#include "network_check_tool/model_run.h"
#include "network_check_tool/sample.h"
#include "platform/process_setup.h"

namespace {

constexpr int kSpeedRounds = 300;
constexpr int kUsage = 2;  // exit code for a command line that can't be right

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

// What the command line says; "" stands for what lies beside the program.
struct Options {
    int scenes = 200;
    bool onlySpeed = false;
    std::string library;
    std::string folder;
    std::string samples;
    std::vector<std::string> files;
};

void PrintHeading(const Options& options) {
    if (!options.samples.empty()) {
        std::printf("Samples go to %s\n", options.samples.c_str());
    } else if (options.onlySpeed) {
        std::printf("%-26s %8s %8s\n", "", "fastest", "median");
    } else {
        std::printf("%-26s %7s %15s %17s %7s %22s\n", "", "", "overlap", "steadiness", "", "");
        std::printf("%-26s %7s %7s %7s %8s %8s %7s %8s %6s %6s\n", "", "kB", "alone", "after", "alone", "after", "ms",
                    "gesture", "faces", "extra");
    }
}

void CheckModel(const Options& options, const std::filesystem::path& library, const std::filesystem::path& file) {
    const std::string name = file.filename().string();
    network_check::ModelRun model(library, file);
    if (!options.samples.empty()) {
        WriteSample(model, name, options.samples);
    } else if (options.onlySpeed) {
        PrintSpeed(model, name);
    } else {
        PrintFindings(network_check::Evaluate(model, options.scenes), name, std::filesystem::file_size(file));
    }
}

// Paths stay paths: not every folder has a name in the code page of the system's narrow texts.
void Check(const Options& options) {
    std::filesystem::path library = options.library;
    if (library.empty()) library = network_check::OwnFolder() / "hvq.dll";
    std::vector<std::filesystem::path> files(options.files.begin(), options.files.end());
    if (files.empty()) {
        std::filesystem::path folder = options.folder;
        if (folder.empty()) folder = network_check::OwnFolder() / "models";
        for (const std::string_view model : network_check::kReferenceModels)
            files.push_back(folder / network_check::ModelFileName(model));
    }
    PrintHeading(options);
    for (const std::filesystem::path& file : files)
        CheckModel(options, library, file);
}

}  // namespace

int main(int argc, char** argv) {
    platform::PrepareProcess();
    try {
        CLI::App app("Measures networks on drawn scenes, through the inference library", "network_check");
        Options options;
        app.add_option("--scenes", options.scenes, "Moving scenes, of four frames; half as many still ones come on top")
            ->check(CLI::Range(1, 100000));
        app.add_option("--library", options.library, "The inference library; the one beside this program");
        app.add_option("--models", options.folder, "Folder of the six model files; \"models\" beside this program");
        auto* const speed = app.add_flag("--speed", options.onlySpeed, "Time alone: fastest and median milliseconds");
        app.add_option("--write-samples", options.samples, "Only writes each network's sample mask to this folder")
            ->excludes(speed);
        app.add_option("files", options.files, "Other networks instead of the six");
        try {
            app.parse(argc, argv);
        } catch (const CLI::ParseError& error) {
            return app.exit(error) == 0 ? 0 : kUsage;
        }
        Check(options);
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "network_check: %s\n", error.what());
        return 1;
    }
}
