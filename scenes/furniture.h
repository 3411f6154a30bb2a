#pragma once

#include "velmo_scenes/canvas.h"

// Things that stand or hang in a background. Each is painted as background (Role::Thing), with sizes in picture
// heights. Thread: any.
namespace scenes {

void PaintBox(Canvas& canvas, Random& random, const Placing& at, Point halfSize, Colour colour);
void PaintShelf(Canvas& canvas, Random& random, const Placing& at, Point halfSize, Colour colour);
void PaintWindow(Canvas& canvas, Random& random, const Placing& at, Point halfSize);
void PaintPicture(Canvas& canvas, Random& random, const Placing& at, Point halfSize);
void PaintPlant(Canvas& canvas, Random& random, const Placing& at, float size);
void PaintLamp(Canvas& canvas, Random& random, const Placing& at, float size);
void PaintCurtain(Canvas& canvas, Random& random, const Placing& at, Point halfSize, Colour colour);
// Of a person's colours and of no person's shape.
void PaintLookalike(Canvas& canvas, Random& random, const Placing& at, float size);
// A jacket or coat that nobody wears.
void PaintCoat(Canvas& canvas, Random& random, const Placing& at, float size);
// Any of the above, of any size, anywhere.
void PaintAnything(Canvas& canvas, Random& random, Point shift);

}  // namespace scenes
