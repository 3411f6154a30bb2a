#pragma once

#include "velmo_scenes/canvas.h"

// Things that stand or hang in a background. Each is painted as background (Role::Thing; a lamp's glow only colours
// what is there).
//   random    decides on what isn't told, and has moved on by as many draws as it took
//   at        where the thing's own coordinates lie: y goes down, their unit is the placing's scale in picture heights
//   halfSize  from the thing's middle, which is the origin, to its sides; above 0
//   size      see the function; above 0
// Thread: any.
namespace scenes {

// A chest or a cupboard, with up to three doors.
void PaintBox(Canvas& canvas, Random& random, const Placing& at, Point halfSize, Colour colour);
// With books; its boards are of `colour`.
void PaintShelf(Canvas& canvas, Random& random, const Placing& at, Point halfSize, Colour colour);
void PaintWindow(Canvas& canvas, Random& random, const Placing& at, Point halfSize);
void PaintPicture(Canvas& canvas, Random& random, const Placing& at, Point halfSize);
// Leaves of up to `size` go up from the origin; below it stands a pot half as high.
void PaintPlant(Canvas& canvas, Random& random, const Placing& at, float size);
// `size` is half the shade's width. The shade's middle is the origin, and its stand goes five times `size` down.
void PaintLamp(Canvas& canvas, Random& random, const Placing& at, float size);
void PaintCurtain(Canvas& canvas, Random& random, const Placing& at, Point halfSize, Colour colour);
// Of a person's colours and of no person's shape, about 0.4 to 1.4 times `size` to each side, at any angle.
void PaintLookalike(Canvas& canvas, Random& random, const Placing& at, float size);
// A jacket or coat that nobody wears: the collar is the origin, and `size` the unit in which it's 2.2 to 4.7 long.
void PaintCoat(Canvas& canvas, Random& random, const Placing& at, float size);
// Any of the above, of any size, anywhere; `shift` moves it, in picture heights.
void PaintAnything(Canvas& canvas, Random& random, Point shift);

}  // namespace scenes
