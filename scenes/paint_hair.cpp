#include "velmo_scenes/paint_person.h"
#include "velmo_scenes/value_noise.h"

namespace scenes {
namespace {

Colour HairAt(const Sitter& sitter, Point p, const Surface& s) {
    const Look& look = sitter.person.look;
    const ValueNoise& noise = ValueNoise::Instance();
    const float across = look.hairCurl > 0.06F ? 2.5F : 7.0F;
    const float along = look.hairCurl > 0.06F ? 2.5F : 1.0F;
    const float strands = noise.At(p.x * across + look.grain.x, p.y * along + look.grain.y);
    const float gleam = SmoothStep(0.35F, 0.0F, Absolute(p.y + 0.65F + 0.2F * p.x * sitter.light.x)) * 0.35F;
    return (look.hairColour * (1.0F + 0.35F * strands) + Colour{0.16F, 0.15F, 0.14F} * (gleam * (0.6F + strands))) *
           sitter.light.On(s, look.bulge);
}

// How far the outline of the hair wavers at a point.
float Ruffle(const Look& look, Point p) {
    return look.hairCurl * ValueNoise::Instance().At(p.x * 1.6F + look.grain.y, p.y * 1.6F + look.grain.x);
}

void PaintHat(Canvas& canvas, const Sitter& sitter) {
    const Look& look = sitter.person.look;
    const bool cap = look.hair == Hair::Cap;
    const float rim = cap ? -0.38F : -0.28F;
    const float rise = cap ? 0.82F : 0.95F;
    canvas.Paint(
        sitter.head, {{-1.2F, -1.5F}, {1.2F, rim + 0.1F}}, Role::Person, 1.0F, 0.0F,
        [&](Point p) {
            Surface s = Ellipse(p, {0.0F, -0.3F}, look.headWidth + 0.08F, rise);
            s.distance = Higher(s.distance, p.y - rim);
            return s;
        },
        [&](Point p, const Surface& s) {
            const float knit = cap ? 0.0F : 0.12F * SineOfTurns(p.x * 6.0F);
            return look.clothSecond * sitter.light.On(s, look.bulge) *
                   (1.0F + knit + (!cap && p.y > rim - 0.25F ? 0.12F : 0.0F));
        });
    if (cap && !look.fromBehind) {
        const float turn = sitter.pose.turn * 0.5F;
        canvas.Paint(
            sitter.head, {{-1.6F, -0.7F}, {1.6F, 0.1F}}, Role::Person, 1.0F, 0.0F,
            [&](Point p) {
                return Ellipse(p, {turn, -0.36F}, look.headWidth * 1.02F, 0.17F);
            },
            [&](Point, const Surface& s) { return look.clothSecond * sitter.light.On(s, 0.8F) * 0.8F; });
    }
}

void PaintHeadphones(Canvas& canvas, const Sitter& sitter) {
    const Look& look = sitter.person.look;
    const bool flat = look.hair == Hair::Bald || look.hair == Hair::Cropped;
    const float volume = flat ? 0.03F : look.hairVolume * 0.6F;
    const float radius = look.headWidth + volume + 0.05F;
    const Colour colour = look.chairColour * 0.6F;
    canvas.Paint(
        sitter.head, {{-radius - 0.3F, -1.6F}, {radius + 0.3F, 0.1F}}, Role::Person, 1.0F, 0.0F,
        [&](Point p) {
            Surface s = Ellipse(p, {0.0F, -0.05F}, radius, 1.02F + volume);
            s.distance = Higher(Absolute(s.distance) - 0.06F, p.y);
            return s;
        },
        [&](Point, const Surface& s) { return colour * sitter.light.On(s, 0.4F); });
    for (float side : {-1.0F, 1.0F}) {
        const Point at{side * radius, 0.05F};
        canvas.Paint(
            sitter.head, Around(at, at, 0.5F), Role::Person, 1.0F, 0.0F,
            [&](Point p) { return Ellipse(p, at, 0.18F, 0.34F); },
            [&](Point, const Surface& s) { return colour * sitter.light.On(s, 0.8F); });
    }
}

// A cloth over hair and shoulders, with an opening for the face.
void PaintScarf(Canvas& canvas, const Sitter& sitter) {
    const Look& look = sitter.person.look;
    canvas.Paint(
        sitter.head, {{-1.7F, -1.6F}, {1.7F, 2.4F}}, Role::Person, 1.0F, 0.0F,
        [&](Point p) {
            Surface s = Join(Ellipse(p, {0.0F, -0.1F}, look.headWidth + 0.2F, 1.08F),
                             Ellipse(p, {0.0F, 1.45F}, 1.15F, 0.6F), 0.5F);
            if (!look.fromBehind) {
                const Surface face = Ellipse(p, {sitter.pose.turn * 0.15F, 0.12F}, look.headWidth * 0.82F, 0.8F);
                s.distance = Higher(s.distance, -face.distance);
            }
            return s;
        },
        [&](Point p, const Surface& s) {
            const float folds = ValueNoise::Instance().At(p.x * 1.2F + look.grain.x, p.y * 0.6F + look.grain.y);
            return look.clothSecond * sitter.light.On(s, look.bulge) * (1.0F + 0.22F * folds);
        });
}

}  // namespace

void PaintHairBehind(Canvas& canvas, const Sitter& sitter) {
    const Look& look = sitter.person.look;
    const float volume = look.hairVolume + (look.hair == Hair::Afro ? 0.45F : look.hair == Hair::Curly ? 0.25F : 0.05F);
    const bool falls = look.hair == Hair::Long || look.hair == Hair::Bob || look.hair == Hair::Curly;
    const float length = look.hair == Hair::Bob ? 1.1F : look.hairLength;
    const float width = look.headWidth + volume;
    if (falls || look.hair == Hair::Afro) {
        canvas.Paint(
            sitter.head, {{-width - 0.7F, -1.9F}, {width + 0.7F, length + 0.5F}}, Role::Person, 1.0F, look.hairSoft,
            [&](Point p) {
                Surface s = Ellipse(p, {0.0F, look.hair == Hair::Afro ? -0.3F : -0.1F}, width, 0.95F + volume);
                if (falls)
                    s = Join(s, Capsule(p, {0.0F, 0.0F}, {0.0F, length - width * 0.8F}, width * 0.96F, width * 0.92F),
                             0.3F);
                s.distance += Ruffle(look, p);
                return s;
            },
            [&](Point p, const Surface& s) { return HairAt(sitter, p, s) * 0.75F; });
    }
    if (look.hair == Hair::Bun) {
        const Point at{0.25F * look.hairline, -1.15F};
        canvas.Paint(
            sitter.head, Around(at, at, 0.7F), Role::Person, 1.0F, look.hairSoft,
            [&](Point p) {
                Surface s = Ellipse(p, at, 0.4F, 0.36F);
                s.distance += Ruffle(look, p);
                return s;
            },
            [&](Point p, const Surface& s) { return HairAt(sitter, p, s); });
    }
    if (look.hair == Hair::Tail) {
        const float side = look.hairline > 0.0F ? 1.0F : -1.0F;
        const Point end{side * 0.95F, look.hairLength * 0.7F};
        canvas.Paint(
            sitter.head, Around({side * 0.55F, -0.6F}, end, 0.6F), Role::Person, 1.0F, look.hairSoft,
            [&](Point p) {
                Surface s = Capsule(p, {side * 0.55F, -0.5F}, end, 0.22F, 0.3F);
                s.distance += Ruffle(look, p);
                return s;
            },
            [&](Point p, const Surface& s) { return HairAt(sitter, p, s) * 0.9F; });
    }
}

void PaintHairInFront(Canvas& canvas, const Sitter& sitter) {
    const Look& look = sitter.person.look;
    const bool hat = look.hair == Hair::Cap || look.hair == Hair::Beanie;
    if (look.hair == Hair::Scarf) {
        PaintScarf(canvas, sitter);
        return;
    }
    if (look.hair != Hair::Bald || look.fromBehind) {
        const bool cropped = look.hair == Hair::Cropped || look.hair == Hair::Bald;
        const bool falls =
            look.hair == Hair::Long || look.hair == Hair::Bob || look.hair == Hair::Curly || look.hair == Hair::Afro;
        const float volume = cropped ? 0.03F : look.hair == Hair::Afro ? look.hairVolume + 0.3F : look.hairVolume;
        const float sideEnd = look.fromBehind ? 0.55F
                              : falls         ? Lower(look.hairLength, 1.3F)
                              : cropped       ? -0.05F
                                              : 0.05F + look.hairline;
        const float brow = look.hair == Hair::Fringe ? 0.16F : look.hairline;
        const float parting = look.hair == Hair::Short || look.hair == Hair::Long ? look.hairline * 1.6F : 0.0F;
        const float width = look.headWidth + volume * 0.7F;
        canvas.Paint(
            sitter.head, {{-width - 0.5F, -1.9F}, {width + 0.5F, sideEnd + 0.3F}}, Role::Person, cropped ? 0.85F : 1.0F,
            cropped ? 0.06F : look.hairSoft * 0.6F,
            [&](Point p) {
                Surface s = Ellipse(p, {0.0F, -0.14F - volume * 0.4F}, width, 0.88F + volume * 0.75F);
                if (falls && p.y > 0.0F) s = {Absolute(p.x) - width, Clamp(p.x / width, -1.0F, 1.0F), 0.0F};
                s.distance += Ruffle(look, p);
                if (!look.fromBehind) {
                    const Point opening{sitter.pose.turn * 0.2F + parting, 0.42F + brow};
                    Surface face = Ellipse(p, opening, look.headWidth * 0.84F, 0.92F);
                    if (p.y > opening.y) face.distance = Absolute(p.x - opening.x) - look.headWidth * 0.84F;
                    s.distance = Higher(s.distance, -face.distance + 0.4F * Ruffle(look, {p.x + 3.0F, p.y}));
                }
                s.distance = Higher(s.distance, p.y - sideEnd);
                return s;
            },
            [&](Point p, const Surface& s) { return HairAt(sitter, p, s); });
    }
    if (hat) PaintHat(canvas, sitter);
    if (look.headphones && !hat) PaintHeadphones(canvas, sitter);
}

}  // namespace scenes
