#pragma once

namespace run_process_tests {

// This program as ffmpeg, which reads the file that the word behind "-i" names and writes Y4M of two pixels a frame.
// The file need not be there, its name says it all: "N frames..." gives so many, anything else none; a name with "fail"
// ends with 8. Returns the exit code.
int BeFfmpeg(int argumentCount, char** arguments);

}  // namespace run_process_tests
