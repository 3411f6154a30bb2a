// What can go wrong in a run: it is told, what was written stays, and the exit code is 1.

#include <gmock/gmock.h>

#include <atomic>
#include <csignal>
#include <filesystem>
#include <fstream>

#include "full_disk.h"
#include "run_fixture.h"
#include "scripted_double/scripted_library.h"
#include "velmo_run/interrupt.h"

namespace run_process_tests {
namespace {

using nlohmann::json;
using testing::AnyOf;
using testing::HasSubstr;
using testing::Not;
using testing::SizeIs;

constexpr std::size_t kFrameBytes = std::size_t{kWidth} * kHeight;

// A Y4M stream of still halves.
std::string Clip(int frames) {
    std::string bytes = "YUV4MPEG2 W256 H144 F25:1 Cmono XCOLORRANGE=FULL\n";
    const Grey picture = Halves(kWidth, kHeight, 240, 20);
    for (int frame = 0; frame < frames; ++frame)
        bytes.append("FRAME\n").append(picture.begin(), picture.end());
    return bytes;
}

class RunFails : public VideoRunTest {
 protected:
    int RunBytes(const std::string& bytes) {
        std::stringbuf input(bytes);
        return RunStream(input);
    }
    void Put(const std::string& name, const std::string& bytes) {
        std::ofstream(m_folder.Path() / name, std::ios::binary) << bytes;
    }
};

TEST_F(RunFails, AtAFrameThatIsCutOffAndKeepsThoseBefore) {
    m_options.masks = "-";
    m_options.json = At("run.json");
    const std::string clip = Clip(4);
    EXPECT_EQ(RunBytes(clip.substr(0, clip.size() - 100)), 1);
    EXPECT_THAT(FramesOf(m_written.str()), SizeIs(3));
    EXPECT_THAT(m_talk.Text(), HasSubstr("standard input: frame 3 at byte"));
    EXPECT_THAT(m_talk.Text(), HasSubstr("is cut off: 36764 of its 36864 bytes are there"));
    EXPECT_EQ(JsonAt("run.json").at("state"), "failed");
    EXPECT_EQ(JsonAt("run.json").at("frames").at("written"), 3);
}

TEST_F(RunFails, AtGarbageBetweenFramesInAFile) {
    Put("clip.y4m", Clip(2) + "what is this");
    m_options.input = At("clip.y4m");
    m_options.masks = At("masks.y4m");
    EXPECT_EQ(Run(), 1);
    EXPECT_THAT(FramesAt("masks.y4m"), SizeIs(2));
    EXPECT_THAT(m_talk.Text(), HasSubstr("clip.y4m: frame 2 at byte 73789 does not begin with \"FRAME\""));
}

TEST_F(RunFails, WhenThereIsNothingToRead) {
    m_options.masks = At("masks.y4m");
    EXPECT_EQ(RunBytes(""), 1);
    EXPECT_THAT(m_talk.Text(), HasSubstr("standard input: the stream is empty"));
    EXPECT_FALSE(std::filesystem::exists(m_folder.Path() / "masks.y4m"));

    EXPECT_EQ(RunBytes("YUV4MPEG2 W256 H144\n"), 1);
    EXPECT_THAT(m_talk.Text(), HasSubstr("there is no frame in standard input"));

    m_options.masks.clear();
    m_options.input = At("nowhere.y4m");
    EXPECT_EQ(Run(), 1);
    EXPECT_THAT(m_talk.Text(), HasSubstr("nowhere.y4m is not there"));
}

TEST_F(RunFails, OnWhatItCannotRead) {
    m_options.masks = "-";
    EXPECT_EQ(RunBytes("YUV4MPEG2 W0 H144\n"), 1);
    EXPECT_THAT(m_talk.Text(), HasSubstr("\"W0\""));
    EXPECT_EQ(RunBytes("YUV4MPEG2 W256 H144 C420p10\n"), 1);
    EXPECT_THAT(m_talk.Text(), HasSubstr("\"C420p10\""));
    EXPECT_EQ(RunBytes("YUV4MPEG2 W256 H144 It\n"), 1);
    EXPECT_THAT(m_talk.Text(), HasSubstr("interlaced"));
    EXPECT_EQ(m_written.str(), "");
}

TEST_F(RunFails, OnAFullDiskAndTellsHowMuchIsWhole) {
    run_tests::FullDisk disk(3 * kFrameBytes);
    m_output = &disk;
    m_options.output = "-";
    m_options.json = At("run.json");
    EXPECT_EQ(RunFeed(Still), 1) << "a stream without an end, so that it ends by the disk";
    EXPECT_THAT(m_talk.Text(),
                HasSubstr("can't write standard output: No space left on device; 2 frames were written"));
    EXPECT_EQ(JsonAt("run.json").at("state"), "failed");
}

TEST_F(RunFails, WithoutAModel) {
    std::filesystem::remove(m_folder.Path() / "models" / "calyr_144p_input.dll");
    m_options.masks = At("masks.y4m");
    EXPECT_EQ(RunFrames(3, Still), 1);
    EXPECT_THAT(m_talk.Text(), HasSubstr("velmo: no engine: "));
    EXPECT_THAT(m_talk.Text(), HasSubstr("calyr_144p_input.dll not exists"));
    EXPECT_THAT(m_talk.Text(), HasSubstr("--model-dir"));
    EXPECT_FALSE(std::filesystem::exists(m_folder.Path() / "masks.y4m"));
}

TEST_F(RunFails, WithAModelThatIsNoNetwork) {
    Put("models/calyr_144p_input.dll", "no network at all");
    EXPECT_EQ(RunFrames(3, Still), 1);
    EXPECT_THAT(m_talk.Text(), HasSubstr("velmo: no engine: "));
}

TEST_F(RunFails, WithoutTheEngineLibrary) {
    m_options.engineFolder = At("models");
    EXPECT_EQ(RunFrames(3, Still), 1);
    EXPECT_THAT(m_talk.Text(), HasSubstr("velmo: no engine: "));
    EXPECT_THAT(m_talk.Text(), HasSubstr("hvq.dll"));
}

TEST_F(RunFails, WithoutTheProcess) {
    m_options.program = At("velmoml-of-nobody");
    EXPECT_EQ(RunFrames(3, Still), 1);
    EXPECT_THAT(m_talk.Text(), HasSubstr("velmo: no process: "));
}

TEST_F(RunFails, RatherThanOverwriteAFile) {
    for (const char* name : {"a.y4m", "m.y4m", "r.html", "j.json", "c.csv", "s.png"}) {
        m_options.output = At("a.y4m");
        m_options.masks = At("m.y4m");
        m_options.report = At("r.html");
        m_options.json = At("j.json");
        m_options.csv = At("c.csv");
        m_options.sheet = At("s.png");
        Put(name, "mine");
        EXPECT_EQ(RunFrames(2, Still), 1);
        EXPECT_THAT(m_talk.Text(), HasSubstr(std::string(name) + " is there already; --force overwrites it"));
        EXPECT_EQ(process_tests::FileText(At(name)), "mine");
        std::filesystem::remove(m_folder.Path() / name);
    }
    Put("a.y4m", "mine");
    m_options.force = true;
    EXPECT_EQ(RunFrames(2, Still), 0) << m_talk.Text();
    EXPECT_THAT(FramesAt("a.y4m"), SizeIs(2));
    EXPECT_THAT(process_tests::FileText(At("s.png")), testing::StartsWith("\x89PNG"));
}

TEST_F(RunFails, OnOutputsThatCannotBe) {
    m_options.output = m_options.masks = "-";
    EXPECT_EQ(RunFrames(2, Still), 2);
    EXPECT_THAT(m_talk.Text(), HasSubstr("two outputs can't go to the same place, -"));
    m_options.output = At("pictures");
    for (const char* name : {"pictures/", "./pictures", "models/../pictures"}) {
        m_options.masks = At(name);
        EXPECT_EQ(RunFrames(2, Still), 2) << name;
    }
    EXPECT_FALSE(std::filesystem::exists(m_folder.Path() / "pictures"));
    Put("clip.y4m", Clip(2));
    m_options.input = m_options.output = At("clip.y4m");
    m_options.force = true;
    EXPECT_EQ(Run(), 2);
    EXPECT_THAT(m_talk.Text(), HasSubstr("the input can't be an output, "));
    EXPECT_EQ(process_tests::FileText(At("clip.y4m")), Clip(2));
    m_options.input = "-";
    m_options.masks.clear();
    m_options.json = "-";
    EXPECT_EQ(RunFrames(2, Still), 2);
    EXPECT_THAT(m_talk.Text(), HasSubstr("pictures alone go to standard output"));
    m_options.json.clear();
    m_options.output = At("out.mp4");
    EXPECT_EQ(RunFrames(2, Still), 2);
    EXPECT_THAT(m_talk.Text(), HasSubstr("ffmpeg -i -"));
    m_options.output.clear();
    m_options.background = "mauve-ish";
    EXPECT_EQ(RunFrames(2, Still), 1);
    EXPECT_THAT(m_talk.Text(), HasSubstr("neither \"blur\", a colour such as"));
}

TEST_F(RunFails, BeforeAnythingIsStartedWhereNoFolderIs) {
    m_options.program = At("velmoml-of-nobody");
    for (std::string velmo_run::RunOptions::*file :
         {&velmo_run::RunOptions::output, &velmo_run::RunOptions::masks, &velmo_run::RunOptions::report,
          &velmo_run::RunOptions::json, &velmo_run::RunOptions::csv, &velmo_run::RunOptions::sheet}) {
        m_options.*file = At("nowhere/file.y4m");
        EXPECT_EQ(RunFrames(2, Still), 1);
        (m_options.*file).clear();
    }
    EXPECT_THAT(m_talk.Text(), HasSubstr("nowhere/file.y4m: its folder is not there"));
    EXPECT_THAT(m_talk.Text(), Not(HasSubstr("no process")));
}

TEST_F(RunFails, ClaimsNoFileThatItCouldNotWrite) {
    m_options.report = At("models");
    m_options.json = At("run.json");
    EXPECT_EQ(RunFrames(2, Still), 1);
    EXPECT_THAT(m_talk.Text(), HasSubstr("velmo: can't write "));
    EXPECT_THAT(m_talk.Text(), Not(HasSubstr("(report)")));
    EXPECT_THAT(m_talk.Text(), HasSubstr("run.json (numbers of the report)")) << "the others are written";
    EXPECT_EQ(JsonAt("run.json").at("state"), "complete");
}

TEST_F(RunFails, WhenInterruptedAndNotByAStreamThatIsCutOffThen) {
    bool isInterrupted = false;  // written by the thread that reads, which is gone when it is read
    std::atomic<bool> interrupted = false;
    m_interrupted = [&] { return interrupted.load(); };
    m_options.json = At("run.json");
    EXPECT_EQ(RunFeed([&](std::uint64_t frame) {
                  if (frame < 5) return Still(frame);
                  if (isInterrupted) return Grey();
                  interrupted = isInterrupted = true;
                  return Grey(7);  // a part of a frame
              }),
              1);
    EXPECT_EQ(JsonAt("run.json").at("state"), "interrupted");
    EXPECT_THAT(m_talk.Text(), HasSubstr("velmo: interrupted after "));
    EXPECT_THAT(m_talk.Text(), Not(HasSubstr("cut off")));
}

// The same on the scripted library.
class RunOnScript : public RunFails {
 protected:
    void Use(const std::string& script) {
        (void)m_library.Put("hvq.script", script);
        (void)m_library.Put("inhouse_144p_input.dll", "a model");
        m_options.family = velmo_parent::ModelFamily::Inhouse;
        m_options.engineFolder = NameOf(m_library.Folder());
        m_options.modelFolder = m_options.engineFolder;
    }

    scripted_double::ScratchLibrary m_library;

 private:
    static std::string NameOf(const std::filesystem::path& path) {
        const std::u8string text = path.u8string();
        return {text.begin(), text.end()};
    }
};

TEST_F(RunOnScript, TellsThatTheProcessHasDiedAndItsLastWords) {
    Use("exit hvqInfer 4 7");
    m_options.masks = "-";
    m_options.json = At("run.json");
    EXPECT_EQ(RunFeed(Changing), 1) << "a stream without an end, so that it ends by the process";
    EXPECT_THAT(m_talk.Text(), HasSubstr("the process ended with exit code 7"));
    EXPECT_THAT(m_talk.Text(), HasSubstr("its last words:"));
    EXPECT_THAT(m_talk.Text(), HasSubstr("create engine success"));
    EXPECT_THAT(m_talk.Text(), HasSubstr("what was written until then is kept"));
    const json report = JsonAt("run.json");
    EXPECT_EQ(report.at("state"), "failed");
    EXPECT_GE(report.at("frames").at("lost"), 1);
    // Those before the fourth that the network saw; some may have been skipped between them.
    EXPECT_GE(report.at("frames").at("inferred").get<int>() + report.at("frames").at("reused").get<int>(), 3);
    EXPECT_THAT(FramesOf(m_written.str()), SizeIs(report.at("frames").at("written").get<std::size_t>()));
}

TEST_F(RunOnScript, TellsThatTheProcessHasDiedWithinItsInit) {
    Use("exit hvqCreateNetByBuiltin 1 5");
    EXPECT_EQ(RunFrames(3, Changing), 1);
    EXPECT_THAT(m_talk.Text(), HasSubstr("no engine: the process ended with exit code 5"));
}

TEST_F(RunOnScript, TellsFramesWhoseInferenceFails) {
    Use("fail hvqInfer 1+ \"out of order\"");
    m_options.json = At("run.json");
    EXPECT_EQ(RunFrames(5, Changing), 1);
    EXPECT_THAT(m_talk.Text(), HasSubstr("5 without a mask"));
    EXPECT_THAT(m_talk.Text(), HasSubstr("velmo: no frame got a mask"));
    EXPECT_EQ(JsonAt("run.json").at("frames").at("noMask"), 5);
    EXPECT_THAT(JsonAt("run.json").at("notices").dump(), HasSubstr("a frame failed"));
    EXPECT_EQ(JsonAt("run.json").at("state"), "failed");
    EXPECT_EQ(JsonAt("run.json").at("reason"), "no frame got a mask");
}

TEST_F(RunOnScript, FailsWhenInferenceFailsFromSomeFrameOn) {
    Use("fail hvqInfer 3+ \"out of order\"");
    m_options.json = At("run.json");
    EXPECT_EQ(RunFrames(60, Changing), 1);
    EXPECT_THAT(m_talk.Text(), HasSubstr("velmo: inference fails: by frame "));
    EXPECT_EQ(JsonAt("run.json").at("state"), "failed");
    EXPECT_EQ(JsonAt("run.json").at("frames").at("written"), 60);
}

TEST_F(RunFails, WhenInterruptedAndFinishesWhatIsOnItsWay) {
    velmo_run::InterruptWatch watch;
    m_interrupted = velmo_run::InterruptWatch::Interrupted;
    m_options.masks = At("masks.y4m");
    m_options.json = At("run.json");
    EXPECT_EQ(RunFeed([](std::uint64_t frame) {
                  if (frame == 20) (void)std::raise(SIGINT);
                  return Still(frame);
              }),
              1);
    EXPECT_THAT(m_talk.Text(), HasSubstr("velmo: interrupted after "));
    const json report = JsonAt("run.json");
    EXPECT_EQ(report.at("state"), "interrupted");
    EXPECT_EQ(report.at("frames").at("lost"), 0);
    EXPECT_THAT(FramesAt("masks.y4m"), SizeIs(report.at("frames").at("written").get<std::size_t>()));
}

}  // namespace
}  // namespace run_process_tests
