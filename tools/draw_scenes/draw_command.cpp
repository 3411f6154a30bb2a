#include "draw_scenes_tool/draw_command.h"

#include <CLI/CLI.hpp>
#include <exception>
#include <new>
#include <ostream>
#include <string>

#include "draw_scenes_tool/clip_stream.h"
#include "draw_scenes_tool/new_file.h"
#include "draw_scenes_tool/picture_size.h"
#include "draw_scenes_tool/sheet.h"
#include "draw_scenes_tool/training_stream.h"

namespace draw_scenes {
namespace {

constexpr char kProgram[] = "draw_scenes";

void AddSize(CLI::App& app, PictureSize& size) {
    app.add_option_function<std::string>(
           "--size",
           [&size](const std::string& text) {
               const auto read = ReadPictureSize(text);
               if (!read) throw CLI::ValidationError("--size", "\"" + text + "\" is no size such as 256x144");
               size = *read;
           },
           "Width and height in pixels, such as 256x144")
        ->type_name("WxH");
}

// The command line: what it may say, and what it said. Stays where it is, for the options point into it.
class Arguments {
 public:
    Arguments() : m_app("Draws scenes with people whose masks are known", kProgram) {
        m_app.require_subcommand(1);
        AddTrain();
        AddClip();
        AddSheet();
    }
    Arguments(const Arguments&) = delete;
    Arguments& operator=(const Arguments&) = delete;

    CLI::App& App() { return m_app; }

    // False when the output took no more.
    bool Draw(ByteSink& output) const {
        if (m_train->parsed()) return DrawTrainingStream(training, output);
        if (m_clip->parsed()) return DrawClip(clip, output);
        return output.Take(DrawSheet(sheet));
    }

    TrainingOptions training;
    ClipOptions clip;
    SheetOptions sheet;
    std::string path;  // of the clip's file; "" is the standard output
    bool force = false;

 private:
    void AddTrain() {
        m_train = m_app.add_subcommand("train", "Frames, masks and facts as raw bytes to the standard output");
        m_train->add_option("--seed", training.seed, "The first sequence's seed; each further one's is one higher");
        m_train->add_option("--sequences", training.sequences, "How many scenes");
        m_train->add_option("--frames", training.framesPerSequence, "Frames of each")->check(CLI::Range(1, 100000));
        m_train->add_option("--step-ms", training.stepMs, "Milliseconds from frame to frame")
            ->check(CLI::Range(1.0, 60000.0));
        m_train->add_option("--still", training.stillShare, "Share of the scenes in which only noise changes")
            ->check(CLI::Range(0.0, 1.0));
        m_train->add_flag("--held-out", m_heldOut, "Seeds counted from 2^32: scenes that no training sees");
        AddSize(*m_train, training.size);
        m_train->callback([this] {
            if (m_heldOut) training.scenes = WhichScenes::HeldOut;
            const std::string wrong = WhyNot(training);
            if (!wrong.empty()) throw CLI::ValidationError("train", wrong);
        });
    }

    void AddClip() {
        m_clip = m_app.add_subcommand("clip", "A clip of two people as Y4M (C420jpeg, BT.601, limited range)");
        m_clip->add_option("--seed", clip.clip.seed, "Which two people, and where");
        m_clip->add_option("--seconds", clip.seconds, "Length")->check(CLI::Range(0.1, 3600.0));
        m_clip->add_option("--fps", clip.framesPerSecond, "Frames per second")->check(CLI::Range(1, 240));
        m_clip->add_flag("--noise", clip.clip.cameraNoise, "Light noise; else pauses repeat a frame to the byte");
        m_clip->add_option("-o,--output", path, "A new file instead of the standard output");
        m_clip->add_flag("--force", force, "Overwrite the file");
        AddSize(*m_clip, clip.size);
    }

    void AddSheet() {
        CLI::App* const app =
            m_app.add_subcommand("sheet", "Many scenes on one picture, as PPM to the standard output");
        app->add_option("--seed", sheet.seed, "The first scene's seed");
        app->add_option("--columns", sheet.columns, "Scenes side by side")->check(CLI::Range(1, 50));
        app->add_option("--rows", sheet.rows, "Rows of scenes")->check(CLI::Range(1, 50));
        app->add_option("--at", sheet.seconds, "Time in seconds")->check(CLI::Range(0.0, 3600.0));
        app->add_flag("--clips", sheet.clips, "Clips such as the demo's");
        app->add_flag("--sequence", sheet.asSequence, "One scene, as time goes on");
        app->add_flag("!--no-masks", sheet.masks, "Pictures only");
        AddSize(*app, sheet.size);
    }

    CLI::App m_app;
    CLI::App* m_train = nullptr;
    CLI::App* m_clip = nullptr;
    bool m_heldOut = false;
};

int DrawInto(const Arguments& arguments, ByteSink& sink, const std::string& name, std::ostream& errors) {
    if (arguments.Draw(sink)) return 0;
    errors << kProgram << ": " << name << " takes no more\n";
    return kDrawingFailed;
}

int Run(const Arguments& arguments, ByteSink& output, std::ostream& errors) {
    if (arguments.path.empty()) return DrawInto(arguments, output, "the standard output", errors);
    auto file = NewFile::Open(arguments.path, arguments.force ? IfThere::Overwrite : IfThere::Keep);
    if (file) return DrawInto(arguments, *file, arguments.path, errors);
    errors << kProgram << ": " << arguments.path << " is there already (--force overwrites it) or can't be written\n";
    return kNotBegun;
}

}  // namespace

int RunDrawScenes(int argc, const char* const* argv, ByteSink& output, std::ostream& texts, std::ostream& errors) {
    const auto failed = [&errors](const char* why) {
        errors << kProgram << ": " << why << '\n';
        return kDrawingFailed;
    };
    try {
        Arguments arguments;
        try {
            arguments.App().parse(argc, argv);
        } catch (const CLI::ParseError& error) {
            return arguments.App().exit(error, texts, errors) == 0 ? 0 : kNotBegun;
        }
        return Run(arguments, output, errors);
    } catch (const std::bad_alloc&) {
        return failed("there is not enough memory");
    } catch (const std::exception& error) {
        return failed(error.what());
    } catch (...) {
        return failed("something unknown was thrown");
    }
}

}  // namespace draw_scenes
