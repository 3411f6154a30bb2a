#pragma once

#include "velmo_scenes/canvas.h"
#include "velmo_scenes/light.h"
#include "velmo_scenes/person.h"

// Paints a person's parts. Foreground is the person with hair, hats, glasses, headphones and clothes; what is held, a
// chair and a shadow are not. Thread: any.
namespace scenes {

struct Sitter {
    const Person& person;
    const Pose& pose;
    const Light& light;
    Placing body;  // the person's coordinates
    Placing head;  // the origin in the middle of the head, the unit half its height
};

Sitter MakeSitter(const Person& person, const Pose& pose, const Light& light);

// All of it, from back to front, onto what is there.
void PaintPerson(Canvas& canvas, const Sitter& sitter);

// A soft shadow on what stands behind; `offset` in half heads.
void PaintShadow(Canvas& canvas, const Sitter& sitter, Point offset, float strength);

// The steps of PaintPerson.
void PaintChair(Canvas& canvas, const Sitter& sitter);
void PaintHairBehind(Canvas& canvas, const Sitter& sitter);
void PaintLegs(Canvas& canvas, const Sitter& sitter);
void PaintTorso(Canvas& canvas, const Sitter& sitter);
void PaintNeck(Canvas& canvas, const Sitter& sitter);
void PaintHead(Canvas& canvas, const Sitter& sitter);
void PaintHairInFront(Canvas& canvas, const Sitter& sitter);
void PaintArm(Canvas& canvas, const Sitter& sitter, std::size_t arm);
void PaintHand(Canvas& canvas, const Sitter& sitter, std::size_t arm);

// A shape of cloth with the folds that stand out from its outline; `p` is where, going along with the cloth.
Surface Loosened(const Look& look, Surface s, Point p);

// The colour of the clothes at a point of the body, with folds and without light.
Colour ClothAt(const Look& look, Point p);
// The colour of skin there, likewise.
Colour SkinAt(const Look& look, Point p);

}  // namespace scenes
