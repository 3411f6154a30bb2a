#pragma once

// The layers of a network by their names, as the models have them. All elements are 4 bytes wide; but for "motion",
// whose element is taken as it stands, they are floats.
namespace rvo_calyr {

inline constexpr char kInputLayer[] = "input";  // the one layer that goes in
inline constexpr char kSegmentationLayer[] = "segmentation";
inline constexpr char kLandmarksLayer[] = "faces_and_landmarks";
inline constexpr char kMotionLayer[] = "motion";
inline constexpr char kGestureLayer[] = "gesture";
inline constexpr char kLutLayer[] = "lut";
inline constexpr char kLutVerticesLayer[] = "lut_vertices";

}  // namespace rvo_calyr
