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
    }

    int Width() const { return m_width; }
    int Height() const { return m_height; }
    float Aspect() const { return static_cast<float>(m_width) / static_cast<float>(m_height); }
    std::vector<Texel>& Texels() { return m_texels; }
    const std::vector<Texel>& Texels() const { return m_texels; }
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
        for (int y = range.top; y < range.bottom; ++y) {
            Texel* const row = Row(y);
            const float py = (static_cast<float>(y) + 0.5F) / static_cast<float>(m_height) - at.origin.y;
            for (int x = range.left; x < range.right; ++x) {
                const float px = (static_cast<float>(x) + 0.5F) / static_cast<float>(m_height) - at.origin.x;
                const Point p{(at.cosine * px + at.sine * py) / at.scale, (at.cosine * py - at.sine * px) / at.scale};
                if (p.x < box.low.x || p.x > box.high.x || p.y < box.low.y || p.y > box.high.y) continue;
                const Surface surface = shape(p);
                const float cover = Clamp01(0.5F - surface.distance * sharpness) * opacity;
                if (cover <= 0.0F) continue;
                Texel& texel = row[x];
                texel.colour = Mix(texel.colour, shade(p, surface), cover);
                if (role == Role::Person) texel.cover += (1.0F - texel.cover) * cover;
                if (role == Role::Thing) texel.cover *= 1.0F - cover;
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
};

}  // namespace scenes
