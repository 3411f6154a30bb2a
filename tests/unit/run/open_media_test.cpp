#include "velmo_run/open_media.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "failure_of.h"
#include "platform/child_process.h"
#include "scratch_folder.h"
#include "velmo_media/ffmpeg_source.h"
#include "velmo_media/picture.h"
#include "velmo_media/png_folder.h"

namespace run_tests {
namespace {

using testing::ElementsAre;
using testing::EndsWith;
using velmo_media::Overwriting;
using velmo_run::CheckOverwriting;

TEST(CheckOverwriting, LooksForFilesAndIntoFoldersOfPictures) {
    const ScratchFolder folder;
    std::filesystem::create_directory(folder.Path() / "empty");
    std::filesystem::create_directory(folder.Path() / "text");
    std::filesystem::create_directory(folder.Path() / "pictures");
    std::ofstream(folder.Path() / "text" / "a.txt") << "mine";
    std::ofstream(folder.Path() / "pictures" / "a.PNG") << "mine";
    std::ofstream(folder.Path() / "a.y4m") << "mine";
    const auto checked = [&](const std::string& name, Overwriting overwriting) {
        return FailureOf([&] { CheckOverwriting(name == "-" ? name : folder.At(name), overwriting); });
    };
    for (const char* name : {"-", "nowhere", "nowhere.y4m", "empty", "text"})
        EXPECT_EQ(checked(name, Overwriting::Refused), "it worked") << name;
    EXPECT_THAT(checked("a.y4m", Overwriting::Refused), EndsWith("a.y4m is there already; --force overwrites it"));
    EXPECT_EQ(checked("pictures", Overwriting::Refused),
              "there are PNG files in " + folder.At("pictures") + " already; --force overwrites them");
    for (const char* name : {"a.y4m", "pictures"})
        EXPECT_EQ(checked(name, Overwriting::Allowed), "it worked") << name;
}

TEST(OpenSink, MakesVideoOfPicturesOfRedGreenAndBlue) {
    velmo_media::VideoFormat format;
    format.pixels = {velmo_media::ColourModel::Rgb, 0, 0, velmo_media::ColourRange::Full};
    format.size = {3, 1};
    velmo_media::Picture picture(format.pixels, format.size);
    const std::vector<std::uint8_t> bytes = {0, 255, 255, 0, 255, 0, 0, 255, 0};  // black, white, red
    std::ranges::copy(bytes, picture.Bytes().begin());
    std::istringstream in;
    std::ostringstream out;
    const auto sink = velmo_run::OpenSink("-", format, Overwriting::Refused, {in, out});
    for (int frame = 0; frame < 2; ++frame)
        sink->Write(picture, "");
    sink->Finish();
    const std::string frame = "FRAME\n\x10\xEB\x51\x80\x80\x5A\x80\x80\xF0";
    EXPECT_EQ(out.str(), "YUV4MPEG2 W3 H1 F0:0 Ip A0:0 C444 XCOLORRANGE=LIMITED\n" + frame + frame);
}

// Starts nothing, and keeps what it was asked for.
class NoChildren final : public platform::ChildProcesses {
 public:
    std::unique_ptr<platform::ChildProcess> Start(const platform::ChildStart& start, std::string& error) override {
        arguments = start.arguments;
        error = "not today";
        return nullptr;
    }
    std::vector<std::string> arguments;
};

TEST(FfmpegSource, SaysThatItsInputIsAFileWhateverItIsCalled) {
    NoChildren children;
    const std::string failure =
        FailureOf([&] { const velmo_media::FfmpegSource source("ffmpeg", "a:b.mp4", children); });
    EXPECT_EQ(failure, "can't start ffmpeg: not today");
    EXPECT_THAT(children.arguments, ElementsAre("-nostdin", "-loglevel", "error", "-i", "file:a:b.mp4", "-f",
                                                "yuv4mpegpipe", "-pix_fmt", "yuv420p", "-"));
}

}  // namespace
}  // namespace run_tests
