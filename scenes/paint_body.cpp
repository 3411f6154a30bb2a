#include "velmo_scenes/paint_person.h"
#include "velmo_scenes/value_noise.h"

namespace scenes {
namespace {

constexpr float kHips = 5.2F;

float Cell(float x, float y) {
    const float fx = Fraction(x) - 0.5F;
    const float fy = Fraction(y) - 0.5F;
    return fx * fx + fy * fy;
}

Surface Trunk(const Look& look, Point p) {
    const float half = Mix(look.shoulder + 0.28F, look.waist, SmoothStep(0.2F, look.hem - 1.0F, p.y));
    const float beside = Absolute(p.x) - half;
    const float distance = Higher(Higher(beside * 0.97F, p.y - look.hem), 0.25F - p.y);
    const float across = Clamp(p.x / half, -1.0F, 1.0F);
    return {distance, across * across * across * 0.9F + across * 0.1F, Clamp((p.y - 1.6F) * 0.12F, -0.3F, 0.3F)};
}

Surface Shoulders(const Look& look, Point p) {
    Surface s = Capsule({Absolute(p.x), p.y}, {0.15F, -0.12F}, {look.shoulder, 0.35F}, 0.42F, look.armRadius + 0.1F);
    s.leanX *= (p.x < 0.0F ? -1.0F : 1.0F) * SmoothStep(0.0F, 0.7F, Absolute(p.x));  // no crease in the middle
    return s;
}

Surface Torso(const Look& look, Point p) {
    return Loosened(look, Join(Shoulders(look, p), Trunk(look, p), 0.35F), p);
}

// What is cut out of the clothes ends where they end.
Surface OnTorso(const Look& look, Surface s, Point p) {
    s.distance = Higher(s.distance, Torso(look, p).distance);
    return s;
}

// Skin above the neckline, or what is worn under a jacket.
void PaintNeckline(Canvas& canvas, const Sitter& sitter) {
    const Look& look = sitter.person.look;
    const Light& light = sitter.light;
    if (look.fromBehind || look.clothes == Clothes::Turtleneck || look.clothes == Clothes::Hoodie) return;
    float width = look.neck * 1.25F;
    float depth = 0.55F;
    if (look.clothes == Clothes::VNeck) depth = 1.3F;
    if (look.clothes == Clothes::Sleeveless) width = look.neck * 1.7F;
    if (look.clothes == Clothes::Jacket) {
        // The shirt between the lapels, then its own collar's opening.
        const Colour shirt = look.clothSecond;
        const Colour tie = look.trousers;
        canvas.Paint(
            sitter.body, {{-1.0F, -0.6F}, {1.0F, 4.0F}}, Role::Surface, 1.0F, 0.0F,
            [&](Point p) {
                return OnTorso(look, {Absolute(p.x) - 0.75F * (1.0F - p.y / 3.6F), p.x * 0.5F, 0.0F}, p);
            },
            [&](Point p, const Surface& s) {
                const bool onTie = Absolute(p.x) < 0.1F + 0.05F * p.y && look.beard < 0.5F;
                return (onTie ? tie : shirt) * light.On(s, look.bulge) * (0.95F + 0.1F * SmoothStep(-0.3F, 0.3F, p.y));
            });
        depth = 0.35F;
    }
    canvas.Paint(
        sitter.body, {{-width - 0.1F, -0.8F}, {width + 0.1F, depth + 0.1F}}, Role::Surface, 1.0F, 0.0F,
        [&](Point p) {
            const bool pointed =
                look.clothes == Clothes::VNeck || look.clothes == Clothes::Shirt || look.clothes == Clothes::Jacket;
            const float beside = (Absolute(p.x) - width * (1.0F - (p.y + 0.3F) / (depth + 0.3F))) * 0.85F;
            const Surface opening =
                pointed ? Surface{beside, p.x * 0.5F, 0.0F} : Ellipse(p, {0.0F, -0.35F}, width, depth + 0.2F);
            return OnTorso(look, opening, p);
        },
        [&](Point p, const Surface& s) {
            return SkinAt(look, p) * light.On({0.0F, s.leanX * 0.4F, 0.1F}, look.bulge) *
                   (0.78F + 0.22F * SmoothStep(-0.8F, 0.5F, p.y));
        });
    if (look.clothes == Clothes::Shirt) {
        for (float side : {-1.0F, 1.0F}) {  // the collar's two ends
            canvas.Paint(
                sitter.body, Around({side * 0.5F, -0.6F}, {side * 0.3F, 0.4F}, 0.3F), Role::Person, 1.0F, 0.0F,
                [&](Point p) {
                    return Capsule(p, {side * 0.52F, -0.45F}, {side * 0.28F, 0.3F}, 0.1F, 0.13F);
                },
                [&](Point p, const Surface& s) { return ClothAt(look, p) * light.On(s, 0.5F) * 1.08F; });
        }
        for (int i = 0; i < 4; ++i) {
            const Point at{0.0F, 0.8F + 0.9F * static_cast<float>(i)};
            canvas.Paint(
                sitter.body, Around(at, at, 0.1F), Role::Surface, 0.6F, 0.0F,
                [&](Point p) { return Ellipse(p, at, 0.06F, 0.06F); },
                [&](Point, const Surface&) { return look.clothSecond; });
        }
    }
}

}  // namespace

Surface Loosened(const Look& look, Surface s, Point p) {
    if (look.loose > 0.0F && Absolute(s.distance) < 0.4F) {
        s.distance += look.loose * ValueNoise::Instance().At(p.x * 0.7F + look.grain.y, p.y * 0.7F + look.grain.x);
    }
    return s;
}

Colour SkinAt(const Look& look, Point p) {
    const float mottle = ValueNoise::Instance().At(p.x * 1.7F + look.grain.x, p.y * 1.7F + look.grain.y);
    return {look.skin.r * (1.0F + 0.05F * mottle), look.skin.g * (1.0F + 0.075F * mottle),
            look.skin.b * (1.0F + 0.08F * mottle)};
}

Colour ClothAt(const Look& look, Point p) {
    const ValueNoise& noise = ValueNoise::Instance();
    const float folds = noise.SoftAt(p.x * 0.55F + look.grain.x, p.y * 0.35F + look.grain.y) +
                        0.5F * noise.At(p.x * 0.9F + look.grain.y, p.y * 0.7F + look.grain.x);
    const float thread = noise.At(p.x * 5.0F + look.grain.x, p.y * 5.0F + look.grain.y);
    float second = 0.0F;
    const float scale = look.patternScale;
    switch (look.pattern) {
        case Pattern::Plain:
            break;
        case Pattern::Across:
            second = SineOfTurns(p.y * scale + 0.1F * folds) > 0.2F ? 1.0F : 0.0F;
            break;
        case Pattern::Down:
            second = SineOfTurns(p.x * scale + 0.05F * folds) > 0.5F ? 1.0F : 0.0F;
            break;
        case Pattern::Plaid:
            second = (Fraction(p.x * scale * 0.6F) < 0.4F ? 0.4F : 0.0F) +
                     (Fraction(p.y * scale * 0.6F) < 0.4F ? 0.4F : 0.0F);
            break;
        case Pattern::Dots:
            second = Cell(p.x * scale, p.y * scale) < 0.06F ? 1.0F : 0.0F;
            break;
        case Pattern::Patches:
            second = SmoothStep(0.0F, 0.2F, noise.At(p.x * scale * 0.4F + look.grain.y, p.y * scale * 0.4F));
            break;
        case Pattern::Print:
            second = RoundedBox(p, {0.0F, 2.0F}, 0.9F, 0.7F, 0.2F) < 0.0F && noise.At(p.x * scale, p.y * scale) > -0.1F
                         ? 1.0F
                         : 0.0F;
            break;
        case Pattern::Gradient:
            second = SmoothStep(0.0F, 4.0F, p.y);
            break;
    }
    return Mix(look.cloth, look.clothSecond, second) * (1.0F + 0.16F * folds + 0.05F * thread);
}

void PaintChair(Canvas& canvas, const Sitter& sitter) {
    const Look& look = sitter.person.look;
    if (!look.chair || look.standing) return;
    const Placing at{sitter.pose.origin, sitter.pose.scale, 1.0F, 0.0F};
    const bool high = look.patternScale > 2.0F;
    const float half = look.shoulder * Mix(0.8F, 1.3F, look.hairVolume * 3.0F);
    const float top = high ? -2.2F : 0.1F;
    canvas.Paint(
        at, {{-half - 0.1F, top - 0.1F}, {half + 0.1F, 9.1F}}, Role::Thing, 1.0F, 0.0F,
        [&](Point p) {
            return Surface{RoundedBox(p, {0.0F, 4.5F + 0.5F * top}, half, 4.5F - 0.5F * top, 0.5F),
                           Clamp(p.x / half, -1.0F, 1.0F), 0.0F};
        },
        [&](Point p, const Surface& s) {
            const float weave = ValueNoise::Instance().At(p.x * 3.0F + look.grain.x, p.y * 3.0F);
            return look.chairColour * sitter.light.On(s, 0.6F) * (1.0F + 0.12F * weave);
        });
}

void PaintLegs(Canvas& canvas, const Sitter& sitter) {
    const Look& look = sitter.person.look;
    const float spread = 0.55F + look.hairVolume;
    for (float side : {-1.0F, 1.0F}) {
        const Point hip{side * 0.62F, kHips - 0.4F};
        const Point knee{side * (0.5F + spread * 0.3F), 8.2F};
        const Point foot{side * (0.4F + spread * 0.6F), 11.4F};
        canvas.Paint(
            sitter.body, Around(hip, foot, 1.0F), Role::Person, 1.0F, 0.0F,
            [&](Point p) {
                return Join(Capsule(p, hip, knee, 0.72F, 0.46F), Capsule(p, knee, foot, 0.46F, 0.32F), 0.15F);
            },
            [&](Point p, const Surface& s) {
                const float folds = ValueNoise::Instance().At(p.x + look.grain.x, p.y * 0.6F + look.grain.y);
                return look.trousers * sitter.light.On(s, look.bulge) * (1.0F + 0.14F * folds);
            });
        const Point toe = foot + Point{side * 0.45F, 0.3F};
        canvas.Paint(
            sitter.body, Around(foot, toe, 0.6F), Role::Person, 1.0F, 0.0F,
            [&](Point p) {
                return Capsule(p, foot + Point{0.0F, 0.25F}, toe, 0.3F, 0.22F);
            },
            [&](Point, const Surface& s) { return look.clothSecond * 0.5F * sitter.light.On(s, 0.8F); });
    }
}

void PaintNeck(Canvas& canvas, const Sitter& sitter) {
    const Look& look = sitter.person.look;
    const Point top = sitter.pose.head + Point{0.0F, 0.6F};
    const bool covered = look.clothes == Clothes::Turtleneck;
    if (look.clothes == Clothes::Hoodie) {  // the hood lies behind the neck
        canvas.Paint(
            sitter.body, {{-1.4F, -1.3F}, {1.4F, 0.7F}}, Role::Person, 1.0F, 0.0F,
            [&](Point p) {
                return Ellipse(p, {0.0F, -0.25F}, 1.15F, 0.7F);
            },
            [&](Point p, const Surface& s) { return ClothAt(look, p) * sitter.light.On(s, 0.7F) * 0.8F; });
    }
    canvas.Paint(
        sitter.body, Around(top, {0.0F, 0.3F}, 0.8F), Role::Person, 1.0F, 0.0F,
        [&](Point p) {
            return Capsule(p, top, {0.0F, 0.1F}, look.neck, look.neck * 1.15F);
        },
        [&](Point p, const Surface& s) {
            const float shade = 0.68F + 0.3F * SmoothStep(-1.0F, -0.1F, p.y);  // the chin's shadow
            const bool cloth = covered && p.y > -0.75F;
            return (cloth ? ClothAt(look, p) * 0.95F : SkinAt(look, p) * shade) * sitter.light.On(s, look.bulge);
        });
}

void PaintTorso(Canvas& canvas, const Sitter& sitter) {
    const Look& look = sitter.person.look;
    const float half = Higher(look.shoulder, look.waist) + 0.8F;
    canvas.Paint(
        sitter.body, {{-half, -0.8F}, {half, look.hem + 0.2F}}, Role::Person, 1.0F, 0.0F,
        [&](Point p) { return Torso(look, p); },
        [&](Point p, const Surface& s) {
            const float chin = 0.82F + 0.18F * SmoothStep(0.1F, 1.3F, Length({p.x * 0.8F, p.y + 0.9F}) - 0.3F);
            return ClothAt(look, p) * sitter.light.On(s, look.bulge) * chin;
        });
    PaintNeckline(canvas, sitter);
}

}  // namespace scenes
