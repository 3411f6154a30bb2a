#pragma once

#include <string>

// The layers of a network by their names, as the models have them. They are strings, as the engine takes them: a frame
// must not pay for making them. All elements are 4 bytes wide; but for "motion",
// whose element is taken as it stands, they are floats.
namespace rvo_calyr {

inline const std::string& kInputLayer = *new std::string("input");  // the one layer that goes in
inline const std::string& kSegmentationLayer = *new std::string("segmentation");
inline const std::string& kLandmarksLayer = *new std::string("faces_and_landmarks");
inline const std::string& kMotionLayer = *new std::string("motion");
inline const std::string& kGestureLayer = *new std::string("gesture");
inline const std::string& kLutLayer = *new std::string("lut");
inline const std::string& kLutVerticesLayer = *new std::string("lut_vertices");

}  // namespace rvo_calyr
