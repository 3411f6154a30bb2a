#pragma once

#include <fstream>
#include <iosfwd>
#include <memory>
#include <optional>
#include <string>

#include "velmo_media/background.h"
#include "velmo_media/frame_sink.h"
#include "velmo_media/frame_source.h"
#include "velmo_media/png_folder.h"
#include "velmo_run/run_options.h"

// What the texts of the command line stand for: streams, files and folders. All throw velmo_media::MediaError.
namespace velmo_run {

// Program streams; binary.
struct StandardStreams {
    std::istream& in;
    std::ostream& out;
};

// Whether files that are there may go.
inline velmo_media::Overwriting MayOverwrite(const RunOptions& options) {
    return options.force ? velmo_media::Overwriting::Allowed : velmo_media::Overwriting::Refused;
}

// "-" is standard input; a folder of PNG files; a file in Y4M; any other file by ffmpeg.
std::unique_ptr<velmo_media::FrameSource> OpenSource(const std::string& input, const StandardStreams& streams);

// Whether pictures go to a Y4M stream ("-", NAME.y4m) or to a folder of PNG files. Throws for the name of another kind
// of video.
enum class SinkKind { Y4m, PngFolder };
SinkKind SinkKindOf(const std::string& output);

// That nothing is overwritten unless that is allowed: throws when the file, or a PNG file in the folder, is there.
void CheckOverwriting(const std::string& output, velmo_media::Overwriting overwriting);

// Whether both name one file or folder, also one that is not there yet. Standard input and output are no place.
bool IsSamePlace(const std::string& one, const std::string& other);

// Whether the folder that a file is to stand in is there.
bool HasFolder(const std::string& file);

// The format is that of the pictures to come; for a Y4M stream of Rgb pictures they are converted.
std::unique_ptr<velmo_media::FrameSink> OpenSink(const std::string& output, const velmo_media::VideoFormat& format,
                                                 velmo_media::Overwriting overwriting, const StandardStreams& streams);

// "blur", a colour, or the name of a PNG file.
velmo_media::BackgroundKind OpenBackground(const std::string& text);

// A file to write text to.
std::unique_ptr<std::ofstream> OpenTextFile(const std::string& name, velmo_media::Overwriting overwriting);

// A file of this text.
void WriteTextFile(const std::string& name, const std::string& text, velmo_media::Overwriting overwriting);

// Closes it; throws when something could not be written.
void FinishTextFile(std::ofstream& file, const std::string& name);

}  // namespace velmo_run
