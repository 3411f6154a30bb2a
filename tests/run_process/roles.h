#pragma once

namespace run_process_tests {

// This program as ffmpeg, which reads the file that the word behind "-i" names, in whatever folder, and writes Y4M of
// two pixels a frame. It fails with 9 where that word does not say that it is a file. The file need not be there, its
// name says it all: "N frames..." gives so many, anything else none; a name with "fail" ends with 8. Returns the exit
// code.
int BeFfmpeg(int argumentCount, char** arguments);

// This program as a process that prints and ends.
inline constexpr const char* kChatter = "What a process prints is no video.";
int BeChattyProcess();

}  // namespace run_process_tests
