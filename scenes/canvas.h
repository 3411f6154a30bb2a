#pragma once

#include <cstddef>
#include <vector>

#include "velmo_scenes/colour.h"
#include "velmo_scenes/shapes.h"

namespace scenes {

// What a painted shape does to the truth.
enum class Role {
    Person,   // covers what is behind it and is foreground
    Thing,    // covers what is behind it and is background
    Surface,  // colours what is there already
};

// Where a shape's own coordinates lie in the picture, whose height is 1.
struct Placing {
    Point origin;
    float scale = 1.0F;
    float cosine = 1.0F;  // of the angle by which it is turned clockwise
    float sine = 0.0F;

    Point ToPicture(Point p) const {
        return {origin.x + scale * (cosine * p.x - sine * p.y), origin.y + scale * (sine * p.x + cosine * p.y)};
    }
    // A placing within this one, turned by `degrees` more.
    Placing Within(Point at, float degrees, float size = 1.0F) const {
        const float c = CosineOfDegrees(degrees);
        const float s = SineOfDegrees(degrees);
        return {ToPicture(at), scale * size, cosine * c - sine * s, sine * c + cosine * s};
    }
};

// Corners in a shape's own coordinates.
struct Box {
    Point low;
    Point high;
};
inline Box Around(Point a, Point b, float margin) {
    return {{Lower(a.x, b.x) - margin, Lower(a.y, b.y) - margin},
            {Higher(a.x, b.x) + margin, Higher(a.y, b.y) + margin}};
}

struct Texel {
    Colour colour;
    float cover = 0.0F;  // 0 to 1: how much of the pixel belongs to a person
};

// The picture while it is painted, from back to front. Thread: one at a time.
class Canvas {
 public:
    void Resize(int width, int height) {
        m_width = width;
        m_height = height;
        m_texels.assign(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), Texel{});
        BeginPerson();
    }

    // What is painted from now on is another person, before those that are there.
    void BeginPerson() { m_latest.assign(m_texels.size(), 0.0F); }

    int Width() const { return m_width; }
    int Height() const { return m_height; }
    float Aspect() const { return static_cast<float>(m_width) / static_cast<float>(m_height); }
    std::vector<Texel>& Texels() { return m_texels; }
    const std::vector<Texel>& Texels() const { return m_texels; }
    // How much of each pixel belongs to the person that was begun last, in the order of the texels: a part of `cover`.
    const std::vector<float>& Latest() const { return m_latest; }
    Texel* Row(int y) { return m_texels.data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(m_width); }

    // Paints one shape.
    //   box    in the shape's coordinates; nothing is painted outside of it
    //   shape  Surface(Point): the shape at a point
    //   shade  Colour(Point, const Surface&): its colour there
    //   soft   width of the outline in the shape's coordinates; 0 is one pixel
    template <typename Shape, typename Shade>
    void Paint(const Placing& at, const Box& box, Role role, float opacity, float soft, Shape&& shape, Shade&& shade) {
        const Range range = PixelsOf(at, box);
        const float perPixel = 1.0F / (static_cast<float>(m_height) * at.scale);
        const float sharpness = 1.0F / Higher(soft, perPixel);
        const float pixel = 1.0F / static_cast<float>(m_height);
        const float c = at.cosine / at.scale;
        const float s = at.sine / at.scale;
        for (int y = range.top; y < range.bottom; ++y) {
            Texel* const row = Row(y);
            float* const latest = m_latest.data() + (row - m_texels.data());
            const float py = (static_cast<float>(y) + 0.5F) * pixel - at.origin.y;
            for (int x = range.left; x < range.right; ++x) {
                const float px = (static_cast<float>(x) + 0.5F) * pixel - at.origin.x;
                const Point p{c * px + s * py, c * py - s * px};
                if (p.x < box.low.x || p.x > box.high.x || p.y < box.low.y || p.y > box.high.y) continue;
                const Surface surface = shape(p);
                const float cover = Clamp01(0.5F - surface.distance * sharpness) * opacity;
                if (cover <= 0.0F) continue;
                Texel& texel = row[x];
                texel.colour = Mix(texel.colour, shade(p, surface), cover);
                if (role == Role::Person) {
                    texel.cover += (1.0F - texel.cover) * cover;
                    latest[x] += (1.0F - latest[x]) * cover;
                } else if (role == Role::Thing) {
                    texel.cover *= 1.0F - cover;
                    latest[x] *= 1.0F - cover;
                }
            }
        }
    }

    // Darkens what is there, around a shape whose outline is much wider than a few pixels: it's looked at in every
    // fourth pixel only.
    //   distance  float(Point): to the shape's outline
    template <typename Distance>
    void PaintShade(const Placing& at, const Box& box, float strength, float soft, Distance&& distance) {
        constexpr int kStep = 4;
        const Range range = PixelsOf(at, box);
        const int columns = (range.right - range.left) / kStep + 2;
        const float pixel = 1.0F / static_cast<float>(m_height);
        const float c = at.cosine / at.scale;
        const float s = at.sine / at.scale;
        const auto fill = [&](int y, std::vector<float>& shades) {
            const float py = (static_cast<float>(y) + 0.5F) * pixel - at.origin.y;
            for (int i = 0; i < columns; ++i) {
                const float px = (static_cast<float>(range.left + i * kStep) + 0.5F) * pixel - at.origin.x;
                const float cover = Clamp01(0.5F - distance(Point{c * px + s * py, c * py - s * px}) / soft);
                shades[static_cast<std::size_t>(i)] = cover * strength;
            }
        };
        m_upper.resize(static_cast<std::size_t>(columns));
        m_lower.resize(static_cast<std::size_t>(columns));
        fill(range.top, m_lower);
        for (int y = range.top; y < range.bottom; ++y) {
            const int down = (y - range.top) % kStep;
            if (down == 0) {
                m_upper.swap(m_lower);
                fill(y + kStep, m_lower);
            }
            Texel* const row = Row(y);
            for (int x = range.left; x < range.right; ++x) {
                const auto column = static_cast<std::size_t>((x - range.left) / kStep);
                const float across = static_cast<float>((x - range.left) % kStep) * (1.0F / kStep);
                const float upper = Mix(m_upper[column], m_upper[column + 1], across);
                const float lower = Mix(m_lower[column], m_lower[column + 1], across);
                row[x].colour = row[x].colour * (1.0F - Mix(upper, lower, static_cast<float>(down) * (1.0F / kStep)));
            }
        }
    }

 private:
    struct Range {
        int left, right, top, bottom;
    };

    Range PixelsOf(const Placing& at, const Box& box) const {
        const Point corners[4] = {at.ToPicture(box.low), at.ToPicture({box.high.x, box.low.y}),
                                  at.ToPicture({box.low.x, box.high.y}), at.ToPicture(box.high)};
        Point low = corners[0];
        Point high = corners[0];
        for (const Point& corner : corners) {
            low = {Lower(low.x, corner.x), Lower(low.y, corner.y)};
            high = {Higher(high.x, corner.x), Higher(high.y, corner.y)};
        }
        return {Whole(low.x - kEdge, m_width), Whole(high.x + kEdge, m_width), Whole(low.y - kEdge, m_height),
                Whole(high.y + kEdge, m_height)};
    }
    int Whole(float position, int limit) const {
        return static_cast<int>(Clamp(position * static_cast<float>(m_height), 0.0F, static_cast<float>(limit)));
    }

    static constexpr float kEdge = 0.004F;

    int m_width = 0;
    int m_height = 0;
    std::vector<Texel> m_texels;
    std::vector<float> m_latest;  // one for each texel; not in it, for a blur reads the texels alone
    std::vector<float> m_upper;   // of PaintShade, for two of its rows
    std::vector<float> m_lower;
};

}  // namespace scenes
