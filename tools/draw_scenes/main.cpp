#include <CLI/CLI.hpp>
#include <cstdio>
#include <string>

#include "draw_scenes_tool/clip_stream.h"
#include "draw_scenes_tool/new_file.h"
#include "draw_scenes_tool/picture_size.h"
#include "draw_scenes_tool/sheet.h"
#include "draw_scenes_tool/training_stream.h"
#include "platform/binary_output.h"

namespace {

constexpr int kWriteFailed = 1;
constexpr int kNoFile = 2;

class StandardOutput final : public draw_scenes::ByteSink {
 public:
    StandardOutput() { platform::UseBinaryOutput(); }
    bool Take(const std::string& bytes) override {
        return std::fwrite(bytes.data(), 1, bytes.size(), stdout) == bytes.size() && std::fflush(stdout) == 0;
    }
};

void AddSize(CLI::App& app, draw_scenes::PictureSize& size) {
    app.add_option_function<std::string>(
           "--size",
           [&size](const std::string& text) {
               const auto read = draw_scenes::ReadPictureSize(text);
               if (!read) throw CLI::ValidationError("--size", "\"" + text + "\" is no size such as 256x144");
               size = *read;
           },
           "Width and height in pixels, such as 256x144")
        ->type_name("WxH");
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app("Draws scenes with people whose masks are known", "draw_scenes");
    app.require_subcommand(1);

    draw_scenes::TrainingOptions training;
    bool heldOut = false;
    CLI::App* const train = app.add_subcommand("train", "Frames, masks and facts as raw bytes to the standard output");
    train->add_option("--seed", training.seed, "The first sequence's seed; each further one's is one higher");
    train->add_option("--sequences", training.sequences, "How many scenes");
    train->add_option("--frames", training.framesPerSequence, "Frames of each")->check(CLI::Range(1, 100000));
    train->add_option("--step-ms", training.stepMs, "Milliseconds from frame to frame")
        ->check(CLI::Range(1.0, 60000.0));
    train->add_option("--still", training.stillShare, "Share of the scenes in which only noise changes")
        ->check(CLI::Range(0.0, 1.0));
    train->add_flag("--held-out", heldOut, "Seeds counted from 2^32: scenes that no training sees");
    AddSize(*train, training.size);

    draw_scenes::ClipOptions clipOptions;
    std::string path;
    bool force = false;
    CLI::App* const clip = app.add_subcommand("clip", "A clip of two people as Y4M (C420jpeg, BT.601, limited range)");
    clip->add_option("--seed", clipOptions.clip.seed, "Which two people, and where");
    clip->add_option("--seconds", clipOptions.seconds, "Length")->check(CLI::Range(0.1, 3600.0));
    clip->add_option("--fps", clipOptions.framesPerSecond, "Frames per second")->check(CLI::Range(1, 240));
    clip->add_flag("--noise", clipOptions.clip.cameraNoise, "Light noise; else pauses repeat a frame to the byte");
    clip->add_option("-o,--output", path, "A new file instead of the standard output");
    clip->add_flag("--force", force, "Overwrite the file");
    AddSize(*clip, clipOptions.size);

    draw_scenes::SheetOptions look;
    CLI::App* const sheet = app.add_subcommand("sheet", "Many scenes on one picture, as PPM to the standard output");
    sheet->add_option("--seed", look.seed, "The first scene's seed");
    sheet->add_option("--columns", look.columns, "Scenes side by side")->check(CLI::Range(1, 50));
    sheet->add_option("--rows", look.rows, "Rows of scenes")->check(CLI::Range(1, 50));
    sheet->add_option("--at", look.seconds, "Time in seconds")->check(CLI::Range(0.0, 3600.0));
    sheet->add_flag("--clips", look.clips, "Clips such as the demo's");
    sheet->add_flag("--sequence", look.asSequence, "One scene, as time goes on");
    sheet->add_flag("!--no-masks", look.masks, "Pictures only");
    AddSize(*sheet, look.size);

    CLI11_PARSE(app, argc, argv);

    if (clip->parsed() && !path.empty()) {
        const auto ifThere = force ? draw_scenes::IfThere::Overwrite : draw_scenes::IfThere::Keep;
        auto file = draw_scenes::NewFile::Open(path, ifThere);
        if (!file) {
            std::fprintf(stderr, "%s is there already (--force overwrites it) or can't be written\n", path.c_str());
            return kNoFile;
        }
        return draw_scenes::DrawClip(clipOptions, *file) ? 0 : kWriteFailed;
    }
    StandardOutput output;
    if (clip->parsed()) return draw_scenes::DrawClip(clipOptions, output) ? 0 : kWriteFailed;
    if (train->parsed()) {
        if (heldOut) training.seed += draw_scenes::kFirstHeldOutSeed;
        return draw_scenes::DrawTrainingStream(training, output) ? 0 : kWriteFailed;
    }
    return output.Take(draw_scenes::DrawSheet(look)) ? 0 : kWriteFailed;
}
