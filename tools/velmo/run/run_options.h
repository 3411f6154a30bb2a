#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "velmo_parent/inference_process.h"

namespace velmo_run {

// Another engine from this frame on: as soon as it is brought up, which runs beside the frames.
struct SwapWish {
    std::uint64_t frame = 0;
    velmo_parent::Device device = velmo_parent::Device::Auto;
};

// What `velmo run` is asked for. Texts are UTF-8 unless they say something else.
struct RunOptions {
    std::string input;   // "-" is standard input; a folder of PNG files, a .y4m file, any other that ffmpeg reads
    std::string output;  // the composite: "-" is standard output, NAME.y4m, else a folder for PNG files; "" for none
    std::string masks;   // the same for the masks
    std::string background = "green";  // a colour, "blur", or a PNG file
    std::string report;                // files; "" for none
    std::string json;
    std::string csv;
    std::string sheet;  // PNG

    velmo_parent::ModelFamily family = velmo_parent::ModelFamily::Calyr;
    velmo_parent::ModelQuality quality = velmo_parent::ModelQuality::Low;
    velmo_parent::Device device = velmo_parent::Device::Auto;
    bool mayReuseMasks = true;  // the process may skip frames in which little has changed
    std::string program;        // velmoml's file
    std::string engineFolder;   // of hvq.dll
    std::string modelFolder;    // bytes of the system's code page, as this and the next are on the command line
    std::string cacheFolder;    // for compiled networks; "" for none

    std::uint32_t framesInFlight = 3;     // 1 to 5
    double fps = 0;                       // 0: as fast as it goes
    std::vector<SwapWish> swaps;          // by frame, ascending
    std::optional<std::uint64_t> frames;  // at most so many
    bool force = false;                   // files that are there may be overwritten
};

}  // namespace velmo_run
