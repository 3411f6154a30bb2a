#include "velmo_scenes/paint_person.h"
#include "velmo_scenes/value_noise.h"

namespace scenes {
namespace {

Surface Skull(const Look& look, Point p) {
    const Surface crown = Ellipse(p, {0.0F, -0.14F}, look.headWidth, 0.86F);
    const Surface jaw = Ellipse(p, {0.0F, 0.32F}, look.headWidth * look.jaw, 0.68F);
    return Join(crown, jaw, 0.15F);
}

// One soft or hard spot on the face.
void Spot(Canvas& canvas, const Placing& head, Point at, Point half, Colour colour, float opacity, float soft) {
    canvas.Paint(
        head, {{at.x - half.x - soft, at.y - half.y - soft}, {at.x + half.x + soft, at.y + half.y + soft}},
        Role::Surface, opacity, soft, [&](Point p) { return Ellipse(p, at, half.x, half.y); },
        [&](Point, const Surface&) { return colour; });
}

void Stroke(Canvas& canvas, const Placing& head, Point from, Point to, float radius, Colour colour, float opacity,
            float soft) {
    canvas.Paint(
        head, Around(from, to, radius + soft + 0.05F), Role::Surface, opacity, soft,
        [&](Point p) { return Capsule(p, from, to, radius, radius * 0.7F); },
        [&](Point, const Surface&) { return colour; });
}

void PaintEyes(Canvas& canvas, const Sitter& sitter) {
    const Look& look = sitter.person.look;
    const Pose& pose = sitter.pose;
    const Colour lit = look.skin * sitter.light.On({}, 0.0F);
    const float apart = look.headWidth * 0.42F;
    const float drawn = look.hairline * 0.3F;
    for (float side : {-1.0F, 1.0F}) {
        const Point eye{side * apart * (1.0F - 0.25F * Absolute(pose.turn)) + pose.turn * 0.3F, -0.02F};
        Spot(canvas, sitter.head, eye, {0.2F, 0.13F}, lit * 0.55F, 0.5F, 0.14F);
        if (pose.eyesShut) {
            Stroke(canvas, sitter.head, eye - Point{0.11F, 0.0F}, eye + Point{0.11F, 0.01F}, 0.018F, lit * 0.35F, 0.8F,
                   0.02F);
        } else {
            Spot(canvas, sitter.head, eye, {0.125F, 0.06F}, Colour{0.85F, 0.83F, 0.8F} * sitter.light.On({}, 0.0F),
                 0.9F, 0.03F);
            Spot(canvas, sitter.head, eye + Point{pose.turn * 0.04F, 0.0F}, {0.06F, 0.062F}, {0.1F, 0.08F, 0.07F}, 0.9F,
                 0.02F);
        }
        const Point brow = eye + Point{0.0F, -0.2F};
        Stroke(canvas, sitter.head, brow + Point{side * 0.15F, 0.02F}, brow + Point{-side * 0.1F, 0.02F + drawn},
               0.03F + 0.02F * look.jaw, look.hairColour * 0.8F * sitter.light.On({}, 0.0F), 0.75F, 0.04F);
    }
}

void PaintNoseAndMouth(Canvas& canvas, const Sitter& sitter) {
    const Look& look = sitter.person.look;
    const Pose& pose = sitter.pose;
    const Colour lit = look.skin * sitter.light.On({}, 0.0F);
    const float tip = pose.turn * 0.45F;
    if (Absolute(pose.turn) > 0.5F) {  // seen from the side, the nose stands out
        const float out = (pose.turn > 0.0F ? 1.0F : -1.0F) * (look.headWidth + 0.35F * (Absolute(pose.turn) - 0.6F));
        canvas.Paint(
            sitter.head, Around({out * 0.8F, -0.05F}, {out, 0.24F}, 0.2F), Role::Person, 1.0F, 0.0F,
            [&](Point p) {
                return Capsule(p, {out * 0.82F, -0.05F}, {out * 0.97F, 0.24F}, 0.06F, 0.09F);
            },
            [&](Point p, const Surface& s) { return SkinAt(look, p) * sitter.light.On(s, look.bulge * 0.7F); });
    }
    const float shadowSide = sitter.light.x > 0.0F ? -1.0F : 1.0F;
    Stroke(canvas, sitter.head, {pose.turn * 0.34F + shadowSide * 0.06F, 0.0F}, {tip + shadowSide * 0.1F, 0.28F}, 0.05F,
           lit * 0.72F, 0.45F, 0.1F);
    Stroke(canvas, sitter.head, {pose.turn * 0.34F, -0.02F}, {tip, 0.24F}, 0.035F, lit * 1.16F, 0.4F, 0.06F);
    Spot(canvas, sitter.head, {tip, 0.33F}, {0.13F, 0.03F}, lit * 0.5F, 0.5F, 0.05F);
    const Point mouth{pose.turn * 0.34F, 0.58F};
    const Colour lips{lit.r * 0.85F, lit.g * 0.58F, lit.b * 0.58F};
    for (float side : {-1.0F, 1.0F}) {
        const Point corner = mouth + Point{side * 0.24F, -0.09F * look.smile};
        Stroke(canvas, sitter.head, mouth + Point{side * 0.06F, 0.01F}, corner, 0.04F, lips, 0.7F, 0.03F);
        Stroke(canvas, sitter.head, corner, corner + Point{side * 0.03F, -0.02F}, 0.02F, lit * 0.5F, 0.5F, 0.05F);
    }
    const float open = 0.02F + 0.07F * pose.mouth;
    Spot(canvas, sitter.head, mouth, {0.18F, 0.045F + open * 0.8F}, lips, 0.75F, 0.04F);
    Spot(canvas, sitter.head, mouth, {0.14F, open * 0.75F},
         pose.mouth > 0.6F && look.jaw > 0.8F ? Colour{0.85F, 0.83F, 0.8F} : lips * 0.35F, 0.8F, 0.02F);
    Spot(canvas, sitter.head, mouth + Point{0.0F, 0.15F}, {0.16F, 0.03F}, lit * 0.7F, 0.35F, 0.06F);
}

// Foreground, too, where it stands out beyond the head.
void PaintGlasses(Canvas& canvas, const Sitter& sitter) {
    const Look& look = sitter.person.look;
    const Colour frame = look.hairVolume > 0.2F ? look.clothSecond * 0.6F : Colour{0.07F, 0.06F, 0.06F};
    const float apart = look.headWidth * 0.44F;
    const float turn = sitter.pose.turn * 0.3F;
    const Point half{0.24F, look.hairVolume > 0.15F ? 0.2F : 0.15F};
    const float rim = 0.02F + 0.05F * look.hairCurl * 4.0F;
    for (float side : {-1.0F, 1.0F}) {
        const Point at{side * apart + turn, 0.0F};
        const auto lens = [&](Point p) { return Surface{RoundedBox(p, at, half.x, half.y, half.y * 0.8F)}; };
        const Box box{{at.x - half.x - 0.1F, at.y - half.y - 0.1F}, {at.x + half.x + 0.1F, at.y + half.y + 0.1F}};
        canvas.Paint(
            sitter.head, box, Role::Person, look.darkGlasses ? 0.92F : 0.12F, 0.0F, lens, [&](Point p, const Surface&) {
                return look.darkGlasses ? Colour{0.05F, 0.05F, 0.06F} * (1.0F - p.y) : Colour{0.9F, 0.95F, 1.0F};
            });
        canvas.Paint(
            sitter.head, box, Role::Person, 0.9F, 0.0F,
            [&](Point p) { return Surface{Absolute(lens(p).distance) - rim}; },
            [&](Point, const Surface&) { return frame; });
        Stroke(canvas, sitter.head, {side * (apart + half.x) + turn, -0.03F}, {side * look.headWidth * 0.98F, -0.05F},
               0.025F, frame, 0.9F, 0.0F);
    }
    Stroke(canvas, sitter.head, {turn - apart + half.x, -0.03F}, {turn + apart - half.x, -0.03F}, 0.03F, frame, 0.9F,
           0.0F);
}

}  // namespace

void PaintHead(Canvas& canvas, const Sitter& sitter) {
    const Look& look = sitter.person.look;
    const Light& light = sitter.light;
    const float turn = sitter.pose.turn;
    for (float side : {-1.0F, 1.0F}) {
        const Point ear{side * look.headWidth * (1.0F - 0.12F * side * turn), 0.04F};
        canvas.Paint(
            sitter.head, Around(ear, ear, 0.35F), Role::Person, 1.0F, 0.0F,
            [&](Point p) { return Ellipse(p, ear, 0.13F, 0.22F); },
            [&](Point p, const Surface& s) { return SkinAt(look, p) * light.On(s, 0.6F) * 0.88F; });
    }
    const ValueNoise& noise = ValueNoise::Instance();
    canvas.Paint(
        sitter.head, {{-1.1F, -1.2F}, {1.1F, 1.2F}}, Role::Person, 1.0F, 0.0F, [&](Point p) { return Skull(look, p); },
        [&](Point p, const Surface& s) {
            Colour colour = SkinAt(look, p);
            if (look.fromBehind) return colour * light.On(s, look.bulge) * 0.9F;
            const float cheekX = Absolute(p.x - turn * 0.2F) - 0.4F;
            const float cheek = Clamp01(1.0F - 9.0F * (cheekX * cheekX + (p.y - 0.28F) * (p.y - 0.28F)));
            colour = Mix(colour, Colour{colour.r, colour.g * 0.78F, colour.b * 0.76F}, 0.5F * cheek);
            if (look.beard > 0.0F) {
                const float edge = noise.At(p.x * 3.0F + look.grain.x, p.y * 3.0F);
                const float sides =
                    SmoothStep(0.0F, 0.25F, Absolute(p.x - turn * 0.34F) - 0.5F + 0.55F * p.y + 0.06F * edge);
                const float lip = SmoothStep(0.06F, 0.0F, Absolute(p.y - 0.46F) - 0.02F) *
                                  SmoothStep(0.36F, 0.26F, Absolute(p.x - turn * 0.34F));
                const float hair = Clamp01((sides * SmoothStep(0.1F, 0.35F, p.y) + lip) * look.beard);
                colour = Mix(colour, look.hairColour * (0.9F + 0.2F * noise.At(p.x * 9.0F, p.y * 5.0F)), hair);
            }
            return colour * light.On(s, look.bulge);
        });
    const float pixels = sitter.head.scale * static_cast<float>(canvas.Height());
    if (look.fromBehind) return;
    if (pixels > 5.0F) {
        PaintEyes(canvas, sitter);
        PaintNoseAndMouth(canvas, sitter);
    }
    if (look.glasses && pixels > 4.0F) PaintGlasses(canvas, sitter);
}

}  // namespace scenes
