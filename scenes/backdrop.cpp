#include "velmo_scenes/backdrop.h"

#include "velmo_scenes/furniture.h"
#include "velmo_scenes/value_noise.h"

namespace scenes {
namespace {

// Sets every pixel to what `colourAt` says; positions are in picture heights and follow the camera.
template <typename ColourAt>
void Fill(Canvas& canvas, Point shift, ColourAt&& colourAt) {
    const float step = 1.0F / static_cast<float>(canvas.Height());
    for (int y = 0; y < canvas.Height(); ++y) {
        Texel* const row = canvas.Row(y);
        for (int x = 0; x < canvas.Width(); ++x) {
            const Point p{(static_cast<float>(x) + 0.5F) * step - shift.x,
                          (static_cast<float>(y) + 0.5F) * step - shift.y};
            row[x] = {colourAt(p), 0.0F};
        }
    }
}

Colour PaintGradient(Canvas& canvas, Random& random, Point shift) {
    const Colour first = DrawWallColour(random);
    const Colour second = random.Chance(0.4F) ? first : Mix(first, DrawWallColour(random), 0.7F);
    const float across = random.Between(-0.6F, 0.6F);
    const float down = random.Between(-1.0F, 1.0F);
    Fill(canvas, shift,
         [&](Point p) { return Mix(first, second, Clamp01(0.5F + across * (p.x - 0.9F) + down * (p.y - 0.5F))); });
    return Mix(first, second, 0.5F);
}

// What a lens leaves of a background far behind the person: soft patches and round lights.
Colour PaintOutOfFocus(Canvas& canvas, Random& random, Point shift) {
    const Colour first = DrawWallColour(random);
    const Colour second = DrawThingColour(random);
    const Colour third = DrawThingColour(random);
    const float scale = random.Between(0.6F, 3.0F);
    const Point offset{random.Unit() * 32.0F, random.Unit() * 32.0F};
    const ValueNoise& noise = ValueNoise::Instance();
    Fill(canvas, shift, [&](Point p) {
        const Point q = p * scale + offset;
        const Colour patch = Mix(first, second, Clamp01(0.5F + 0.8F * noise.SoftAt(q.x, q.y)));
        return Mix(patch, third, Clamp01(0.9F * noise.SoftAt(q.y * 0.7F + 9.0F, q.x * 0.7F)));
    });
    const int lights = random.Chance(0.5F) ? random.Index(14) : 0;
    for (int i = 0; i < lights; ++i) {
        const Placing at{Point{random.Unit() * canvas.Aspect(), random.Unit()} + shift, random.Between(0.02F, 0.09F),
                         1.0F, 0.0F};
        const Colour glow = FromHue({random.Unit(), random.Between(0.0F, 0.5F), random.Between(0.6F, 1.1F)});
        canvas.Paint(
            at, {{-1.2F, -1.2F}, {1.2F, 1.2F}}, Role::Surface, random.Between(0.15F, 0.7F), 0.2F,
            [](Point p) { return Surface{Length(p) - 1.0F}; }, [&](Point, const Surface&) { return glow; });
    }
    return Mix(first, second, 0.5F);
}

// A wall and perhaps a floor and a second wall, with a surface of their own.
Colour PaintWalls(Canvas& canvas, Random& random, Point shift) {
    const Colour wall = DrawWallColour(random);
    const Colour side = wall * random.Between(0.6F, 1.1F);
    const Colour floor = DrawThingColour(random);
    const float corner = random.Chance(0.4F) ? random.Between(0.0F, 1.0F) * canvas.Aspect() : -9.0F;
    const float slant = random.Between(-0.1F, 0.1F);
    const float ground = random.Chance(0.45F) ? random.Between(0.6F, 0.98F) : 9.0F;
    const int surface = random.Index(6);
    const float grain = random.Between(0.02F, 0.16F);
    const float scale = random.Between(1.5F, 12.0F);
    const float stripes = random.Between(3.0F, 26.0F);
    const Point offset{random.Unit() * 32.0F, random.Unit() * 32.0F};
    const ValueNoise& noise = ValueNoise::Instance();
    Fill(canvas, shift, [&](Point p) {
        if (p.y > ground + (p.x - corner) * slant * 0.5F) {
            return floor *
                   (1.0F + 0.2F * noise.At(p.x * 3.0F + offset.x, p.y * 18.0F + offset.y) - 0.25F * (1.0F - p.y));
        }
        float light = 1.0F + grain * noise.At(p.x * scale + offset.x, p.y * scale + offset.y);
        if (surface == 1) {  // bricks
            const float row = p.y * stripes;
            const float brick = Fraction(p.x * stripes * 0.4F + 0.5F * static_cast<float>(FloorToInt(row) & 1));
            if (Fraction(row) < 0.1F || brick < 0.05F) light *= 0.78F;
        } else if (surface == 2) {  // wallpaper
            light *= 1.0F + 0.14F * (SineOfTurns(p.x * stripes * 0.5F) > 0.0F ? 1.0F : -1.0F);
        } else if (surface == 3) {  // panels
            if (Fraction(p.x * stripes * 0.25F) < 0.03F) light *= 0.7F;
        }
        return (p.x > corner + slant * p.y && corner > -1.0F ? side : wall) * light;
    });
    return wall;
}

Colour PaintOutdoors(Canvas& canvas, Random& random, Point shift) {
    const float haze = random.Unit() * 0.5F;
    const Colour sky =
        Mix(FromHue({random.Between(0.53F, 0.62F), random.Between(0.05F, 0.6F), random.Between(0.7F, 1.0F)}),
            Colour{0.95F, 0.85F, 0.75F}, haze);
    const Colour trees =
        FromHue({random.Between(0.15F, 0.38F), random.Between(0.2F, 0.7F), random.Between(0.15F, 0.6F)});
    const Colour ground = random.Chance(0.6F) ? trees * random.Between(1.0F, 1.7F) : DrawWallColour(random);
    const float treeLine = random.Between(-0.1F, 0.6F);
    const float groundLine = treeLine + random.Between(0.1F, 0.5F);
    const float clouds = random.Between(0.0F, 0.4F);
    const float scale = random.Between(2.0F, 7.0F);
    const Point offset{random.Unit() * 32.0F, random.Unit() * 32.0F};
    const ValueNoise& noise = ValueNoise::Instance();
    Fill(canvas, shift, [&](Point p) {
        const float leaves = noise.At(p.x * scale + offset.x, p.y * scale + offset.y);
        if (p.y > groundLine + 0.03F * leaves) return ground * (1.0F + 0.25F * leaves);
        if (p.y > treeLine + 0.15F * noise.SoftAt(p.x * 2.0F + offset.y, 0.5F) + 0.05F * leaves) {
            return trees * (1.0F + 0.6F * leaves);
        }
        return Mix(sky, Colour{1.0F, 1.0F, 1.0F},
                   Clamp01(clouds + 0.4F * noise.At(p.x + offset.y, p.y * 3.0F)) * clouds * 2.0F);
    });
    return ground;
}

void PaintPieces(Canvas& canvas, Random& random, Point shift, int count) {
    for (int i = 0; i < count; ++i)
        PaintAnything(canvas, random, shift);
}

// Light from the side, and soft shadows of what isn't in the picture.
void Illuminate(Canvas& canvas, Random& random, const Light& light, Point shift) {
    const float patches = random.Chance(0.4F) ? random.Between(0.05F, 0.3F) : 0.0F;
    const float scale = random.Between(0.4F, 1.2F);
    const Point offset{random.Unit() * 32.0F, random.Unit() * 32.0F};
    const float grain = random.Chance(0.35F) ? random.Between(0.02F, 0.18F) : 0.0F;
    const float grainScale = random.Between(3.0F, 16.0F);
    const float level = light.ambient + light.strength * 0.6F;
    const ValueNoise& noise = ValueNoise::Instance();
    const float step = 1.0F / static_cast<float>(canvas.Height());
    for (int y = 0; y < canvas.Height(); ++y) {
        Texel* const row = canvas.Row(y);
        const float py = (static_cast<float>(y) + 0.5F) * step - shift.y;
        for (int x = 0; x < canvas.Width(); ++x) {
            const float px = (static_cast<float>(x) + 0.5F) * step - shift.x;
            float strength = level * (1.0F + light.sideways * (px / canvas.Aspect() - 0.5F) * 2.0F);
            if (patches > 0.0F) strength *= 1.0F + patches * noise.SoftAt(px * scale + offset.x, py * scale + offset.y);
            if (grain > 0.0F)
                strength *= 1.0F + grain * noise.At(px * grainScale + offset.y, py * grainScale + offset.x);
            row[x].colour = row[x].colour * light.tint * strength;
        }
    }
}

}  // namespace

Colour PaintBackdrop(Canvas& canvas, Random random, const Light& light, Point shift) {
    Colour rich;
    const float kind = random.Unit();
    if (kind < 0.12F) {
        rich = PaintGradient(canvas, random, shift);
    } else if (kind < 0.26F) {
        rich = PaintOutOfFocus(canvas, random, shift);
    } else if (kind < 0.36F) {
        rich = PaintOutdoors(canvas, random, shift);
        PaintPieces(canvas, random, shift, random.Index(4));
    } else {
        rich = PaintWalls(canvas, random, shift);
        PaintPieces(canvas, random, shift, random.Chance(0.3F) ? 6 + random.Index(8) : random.Index(6));
    }
    Illuminate(canvas, random, light, shift);
    return rich;
}

}  // namespace scenes
