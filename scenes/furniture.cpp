#include "velmo_scenes/furniture.h"

#include "velmo_scenes/value_noise.h"

namespace scenes {
namespace {

constexpr float kMargin = 0.01F;

Box BoxOf(Point halfSize) {
    return {{-halfSize.x - kMargin, -halfSize.y - kMargin}, {halfSize.x + kMargin, halfSize.y + kMargin}};
}

// A rectangle whose colour is the grain's.
void PaintPlank(Canvas& canvas, const Placing& at, Point halfSize, float corner, Colour colour, float grain,
                Point grainScale, Point offset) {
    const ValueNoise& noise = ValueNoise::Instance();
    canvas.Paint(
        at, BoxOf(halfSize), Role::Thing, 1.0F, 0.0F,
        [&](Point p) { return Surface{RoundedBox(p, {}, halfSize.x, halfSize.y, corner)}; },
        [&](Point p, const Surface&) {
            const float light = 1.0F + grain * noise.At(p.x * grainScale.x + offset.x, p.y * grainScale.y + offset.y) -
                                0.18F * p.y / halfSize.y - 0.08F * p.x / halfSize.x;
            return colour * light;
        });
}

}  // namespace

void PaintBox(Canvas& canvas, Random& random, const Placing& at, Point halfSize, Colour colour) {
    const Point offset{random.Between(0.0F, 32.0F), random.Between(0.0F, 32.0F)};
    const float corner = random.Chance(0.5F) ? 0.003F : Lower(halfSize.x, halfSize.y) * random.Between(0.1F, 0.9F);
    const bool lying = random.Chance(0.5F);
    PaintPlank(canvas, at, halfSize, corner, colour, random.Between(0.03F, 0.25F),
               lying ? Point{2.0F, 14.0F} : Point{14.0F, 3.0F}, offset);
    const int doors = random.Index(4);
    for (int i = 0; i < doors; ++i) {
        const float share = (static_cast<float>(i) + 0.5F) / static_cast<float>(doors);
        const Point centre{Mix(-halfSize.x, halfSize.x, share), 0.0F};
        const Point half{halfSize.x / static_cast<float>(doors) * 0.86F, halfSize.y * 0.88F};
        PaintPlank(canvas, at.Within(centre, 0.0F), half, 0.002F, colour * random.Between(0.75F, 1.2F), 0.1F,
                   {3.0F, 16.0F}, offset);
    }
}

void PaintShelf(Canvas& canvas, Random& random, const Placing& at, Point halfSize, Colour colour) {
    PaintPlank(canvas, at, halfSize, 0.002F, colour * 0.55F, 0.15F, {3.0F, 12.0F}, {random.Unit() * 32.0F, 0.0F});
    const int boards = 2 + random.Index(3);
    const float boardHeight = 2.0F * halfSize.y / static_cast<float>(boards);
    const float fullness = random.Between(0.4F, 1.0F);
    const bool motley = random.Chance(0.7F);
    const Colour common = DrawThingColour(random);
    for (int board = 0; board < boards; ++board) {
        const float bottom = -halfSize.y + boardHeight * static_cast<float>(board + 1);
        float x = -halfSize.x + 0.008F;
        while (x < halfSize.x - 0.02F) {
            const float width = boardHeight * random.Between(0.06F, 0.24F);
            const float height = boardHeight * random.Between(0.5F, 0.86F);
            const Colour cover = motley ? DrawThingColour(random) : common * random.Between(0.6F, 1.3F);
            if (random.Chance(fullness) && x + width < halfSize.x) {
                const float lean = random.Chance(0.1F) ? random.Between(-9.0F, 9.0F) : 0.0F;
                PaintPlank(canvas, at.Within({x + width * 0.5F, bottom - height * 0.5F - 0.004F}, lean),
                           {width * 0.47F, height * 0.5F}, 0.002F, cover, 0.12F, {20.0F, 5.0F}, {x * 31.0F, bottom});
            }
            x += width;
        }
        PaintPlank(canvas, at.Within({0.0F, bottom}, 0.0F), {halfSize.x, 0.007F}, 0.001F, colour, 0.1F, {3.0F, 20.0F},
                   {});
    }
}

void PaintWindow(Canvas& canvas, Random& random, const Placing& at, Point halfSize) {
    const Colour frame = random.Chance(0.7F) ? Colour{0.9F, 0.9F, 0.88F} : DrawThingColour(random);
    const Colour sky = Mix(Colour{1.1F, 1.1F, 1.08F}, FromHue({0.57F, 0.5F, 1.0F}), random.Unit());
    const Colour ground =
        random.Chance(0.3F) ? sky : FromHue({random.Between(0.2F, 0.4F), 0.4F, random.Between(0.2F, 0.8F)});
    const float horizon = random.Between(-0.6F, 1.2F) * halfSize.y;
    const float brightness = random.Chance(0.2F) ? random.Between(0.05F, 0.3F) : random.Between(0.7F, 1.15F);
    const Point offset{random.Unit() * 32.0F, random.Unit() * 32.0F};
    const int across = 1 + random.Index(3);
    const int down = 1 + random.Index(3);
    const float bar = random.Between(0.004F, 0.012F);
    const bool blinds = random.Chance(0.25F);
    const ValueNoise& noise = ValueNoise::Instance();
    canvas.Paint(
        at, BoxOf(halfSize), Role::Thing, 1.0F, 0.0F,
        [&](Point p) { return Surface{RoundedBox(p, {}, halfSize.x, halfSize.y, 0.002F)}; },
        [&](Point p, const Surface&) {
            const float column = Fraction((p.x / halfSize.x * 0.5F + 0.5F) * static_cast<float>(across));
            const float row = Fraction((p.y / halfSize.y * 0.5F + 0.5F) * static_cast<float>(down));
            const float toBar = Lower(Lower(column, 1.0F - column) * 2.0F * halfSize.x / static_cast<float>(across),
                                      Lower(row, 1.0F - row) * 2.0F * halfSize.y / static_cast<float>(down));
            if (toBar < bar) return frame;
            const float hills = noise.At(p.x * 6.0F + offset.x, p.y * 6.0F + offset.y);
            Colour view = Mix(sky, ground, SmoothStep(horizon - 0.02F, horizon + 0.02F, p.y + hills * 0.05F));
            view = view * (1.0F + 0.2F * hills);
            if (blinds && Fraction(p.y * 45.0F) < 0.6F) view = frame * 0.85F;
            return view * brightness;
        });
}

void PaintPicture(Canvas& canvas, Random& random, const Placing& at, Point halfSize) {
    PaintPlank(canvas, at, halfSize, 0.002F, DrawThingColour(random), 0.05F, {8.0F, 8.0F}, {});
    const Point inner{halfSize.x * 0.9F, halfSize.y * 0.9F};
    const Colour first = DrawThingColour(random);
    const Colour second = DrawThingColour(random);
    const Colour third = DrawWallColour(random);
    const Point offset{random.Unit() * 32.0F, random.Unit() * 32.0F};
    const float scale = random.Between(3.0F, 20.0F);
    const bool lines = random.Chance(0.3F);
    const ValueNoise& noise = ValueNoise::Instance();
    canvas.Paint(
        at, BoxOf(inner), Role::Thing, 1.0F, 0.0F,
        [&](Point p) { return Surface{RoundedBox(p, {}, inner.x, inner.y, 0.001F)}; },
        [&](Point p, const Surface&) {
            const float value = noise.At(p.x * scale + offset.x, p.y * scale * (lines ? 4.0F : 1.0F) + offset.y);
            return value > 0.1F ? Mix(first, third, Clamp01(value)) : Mix(second, third, Clamp01(-value));
        });
}

void PaintPlant(Canvas& canvas, Random& random, const Placing& at, float size) {
    const Colour pot = DrawThingColour(random);
    PaintPlank(canvas, at.Within({0.0F, size * 0.25F}, 0.0F), {size * 0.22F, size * 0.25F}, size * 0.05F, pot, 0.1F,
               {5.0F, 5.0F}, {});
    const float hue = random.Between(0.17F, 0.42F);
    const int leaves = 8 + random.Index(14);
    const float slender = random.Between(0.08F, 0.3F);
    for (int i = 0; i < leaves; ++i) {
        const float angle = random.Between(-85.0F, 85.0F);
        const float length = size * random.Between(0.35F, 1.0F);
        const Colour leaf =
            FromHue({hue + random.Bell() * 0.04F, random.Between(0.3F, 0.8F), random.Between(0.15F, 0.65F)});
        const float width = length * slender;
        canvas.Paint(
            at.Within({}, angle), {{-width, -length - kMargin}, {width, kMargin}}, Role::Thing, 1.0F, 0.0F,
            [&](Point p) {
                return Ellipse(p, {0.0F, -length * 0.55F}, width * 0.8F, length * 0.45F);
            },
            [&](Point, const Surface& s) { return leaf * (0.8F + 0.35F * s.leanX - 0.2F * s.leanY); });
    }
}

void PaintLamp(Canvas& canvas, Random& random, const Placing& at, float size) {
    const Colour glow = Mix(Colour{1.1F, 0.95F, 0.7F}, Colour{1.1F, 1.1F, 1.05F}, random.Unit());
    canvas.Paint(
        at, {{-size * 4.0F, -size * 4.0F}, {size * 4.0F, size * 4.0F}}, Role::Surface, random.Between(0.1F, 0.6F),
        size * 6.0F, [&](Point p) { return Surface{Length(p) - size * 0.8F}; },
        [&](Point, const Surface&) { return glow; });
    const Colour stand = DrawThingColour(random);
    PaintPlank(canvas, at.Within({0.0F, size * 2.5F}, 0.0F), {size * 0.06F, size * 2.5F}, 0.001F, stand, 0.0F,
               {1.0F, 1.0F}, {});
    const float flat = random.Between(0.6F, 1.1F);
    canvas.Paint(
        at, {{-size * 1.1F, -size * 1.2F}, {size * 1.1F, size * 1.2F}}, Role::Thing, 1.0F, 0.0F,
        [&](Point p) { return Ellipse(p, {}, size, size * flat); },
        [&](Point, const Surface& s) { return glow * (1.05F - 0.15F * s.leanY * s.leanY); });
}

void PaintCurtain(Canvas& canvas, Random& random, const Placing& at, Point halfSize, Colour colour) {
    const float folds = random.Between(10.0F, 40.0F);
    const float depth = random.Between(0.08F, 0.35F);
    const Point offset{random.Unit() * 32.0F, random.Unit() * 32.0F};
    const ValueNoise& noise = ValueNoise::Instance();
    canvas.Paint(
        at, BoxOf(halfSize), Role::Thing, 1.0F, 0.0F,
        [&](Point p) { return Surface{RoundedBox(p, {}, halfSize.x, halfSize.y, 0.01F)}; },
        [&](Point p, const Surface&) {
            const float sway = noise.SoftAt(p.x * 3.0F + offset.x, p.y * 0.7F + offset.y);
            return colour * (1.0F + depth * SineOfTurns(p.x * folds * 0.5F + sway * 0.6F) + 0.1F * sway);
        });
}

void PaintLookalike(Canvas& canvas, Random& random, const Placing& at, float size) {
    const Colour colour = random.Chance(0.6F) ? DrawSkinColour(random) : DrawClothColour(random);
    const float shape = random.Unit();
    const Point half{size * random.Between(0.4F, 1.4F), size * random.Between(0.4F, 1.4F)};
    const Point offset{random.Unit() * 32.0F, random.Unit() * 32.0F};
    const ValueNoise& noise = ValueNoise::Instance();
    canvas.Paint(
        at.Within({}, random.Between(-90.0F, 90.0F)),
        {{-half.x * 1.6F, -half.y * 1.6F}, {half.x * 1.6F, half.y * 1.6F}}, Role::Thing, 1.0F, 0.0F,
        [&](Point p) {
            Surface s = shape < 0.4F ? Ellipse(p, {}, half.x, half.y)
                        : shape < 0.7F
                            ? Capsule(p, {-half.x, 0.0F}, {half.x * 0.7F, 0.0F}, size * 0.4F, size * 0.25F)
                            : Surface{RoundedBox(p, {}, half.x, half.y, size * 0.1F), p.x / half.x, p.y / half.y};
            s.distance += size * 0.12F * noise.SoftAt(p.x / size + offset.x, p.y / size + offset.y);
            return s;
        },
        [&](Point p, const Surface& s) {
            return colour * (0.9F + 0.2F * s.leanX - 0.15F * s.leanY +
                             0.15F * noise.At(p.x / size + offset.x, p.y / size + offset.y));
        });
}

void PaintCoat(Canvas& canvas, Random& random, const Placing& at, float size) {
    const Colour colour = DrawClothColour(random);
    const Point offset{random.Unit() * 32.0F, random.Unit() * 32.0F};
    const float length = random.Between(2.0F, 4.5F);
    const float width = random.Between(0.9F, 1.5F);
    const ValueNoise& noise = ValueNoise::Instance();
    canvas.Paint(
        at.Within({}, 0.0F, size), {{-2.6F, -0.7F}, {2.6F, length + 0.5F}}, Role::Thing, 1.0F, 0.0F,
        [&](Point p) {
            const Surface yoke =
                Join(Capsule(p, {}, {-width, 0.5F}, 0.3F, 0.45F), Capsule(p, {}, {width, 0.5F}, 0.3F, 0.45F), 0.2F);
            const Surface skirt{RoundedBox(p, {0.0F, length * 0.5F + 0.2F}, width + 0.1F, length * 0.5F, 0.2F),
                                Clamp(p.x / (width + 0.1F), -1.0F, 1.0F), 0.0F};
            const Surface sleeves =
                Capsule({Absolute(p.x), p.y}, {width + 0.1F, 0.5F}, {width + 0.35F, length * 0.8F}, 0.4F, 0.3F);
            return Join(Join(yoke, skirt, 0.3F), sleeves, 0.1F);
        },
        [&](Point p, const Surface& s) {
            const float folds = noise.At(p.x * 1.5F + offset.x, p.y * 0.5F + offset.y);
            return colour * (0.85F + 0.25F * s.leanX - 0.1F * s.leanY + 0.2F * folds);
        });
}

void PaintAnything(Canvas& canvas, Random& random, Point shift) {
    const Point centre{random.Between(-0.1F, 1.1F) * canvas.Aspect(), random.Between(0.0F, 0.9F)};
    const Placing at{centre + shift, 1.0F, 1.0F, 0.0F};
    const Point half{random.Between(0.04F, 0.3F), random.Between(0.06F, 0.35F)};
    const float tilt = random.Between(-4.0F, 4.0F);
    switch (random.Index(10)) {
        case 0:
            PaintBox(canvas, random, at.Within({}, tilt), half, DrawThingColour(random));
            break;
        case 1:
            PaintShelf(canvas, random, at, {half.x + 0.08F, half.y + 0.08F}, DrawThingColour(random));
            break;
        case 2:
            PaintWindow(canvas, random, at, {half.x, half.y + 0.08F});
            break;
        case 3:
            PaintPicture(canvas, random, at, half * 0.6F);
            break;
        case 4:
            PaintPlant(canvas, random, at, random.Between(0.1F, 0.4F));
            break;
        case 5:
            PaintLamp(canvas, random, at, random.Between(0.03F, 0.12F));
            break;
        case 6:
            PaintCurtain(canvas, random, at, {half.x, half.y + 0.3F}, DrawWallColour(random));
            break;
        case 7:
            PaintBox(canvas, random, at, {half.x * 1.8F, half.y * 0.6F}, DrawThingColour(random));
            break;
        case 8:
            PaintCoat(canvas, random, at, random.Between(0.03F, 0.16F));
            break;
        default:
            PaintLookalike(canvas, random, at, random.Between(0.03F, 0.2F));
            break;
    }
}

}  // namespace scenes
