#pragma once

#include "velmo_scenes/canvas.h"
#include "velmo_scenes/light.h"

namespace scenes {

// Fills the canvas with a background and no person.
//   random  decides on everything; the same state paints the same background at every size of the canvas
//   shift   of all that is painted, in picture heights: the camera's unrest
// Returns a colour that the background is rich in, for clothes that are hard to tell from it. Thread: any.
Colour PaintBackdrop(Canvas& canvas, Random random, const Light& light, Point shift);

}  // namespace scenes
