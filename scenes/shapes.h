#pragma once

#include "velmo_scenes/exact_math.h"

// Distances to simple shapes. All functions: any thread.
namespace scenes {

struct Point {
    float x = 0.0F;
    float y = 0.0F;
};

inline Point operator+(Point a, Point b) {
    return {a.x + b.x, a.y + b.y};
}
inline Point operator-(Point a, Point b) {
    return {a.x - b.x, a.y - b.y};
}
inline Point operator*(Point a, float factor) {
    return {a.x * factor, a.y * factor};
}
inline Point Mix(Point a, Point b, float share) {
    return {Mix(a.x, b.x, share), Mix(a.y, b.y, share)};
}
inline float Length(Point p) {
    return Root(p.x * p.x + p.y * p.y);
}

// What a shape is at a point: the distance to its outline, below 0 inside of it, and which way its bulging surface
// leans there (each -1 to 1; 0, 0 faces the viewer).
struct Surface {
    float distance = 0.0F;
    float leanX = 0.0F;
    float leanY = 0.0F;
};

inline Surface Ellipse(Point p, Point centre, float halfWidth, float halfHeight) {
    const float x = (p.x - centre.x) / halfWidth;
    const float y = (p.y - centre.y) / halfHeight;
    const float reach = Root(x * x + y * y);
    const float slope = Root(x * x / (halfWidth * halfWidth) + y * y / (halfHeight * halfHeight));
    const float distance = slope > 1e-6F ? reach * (reach - 1.0F) / slope : -Lower(halfWidth, halfHeight);
    return {distance, Clamp(x, -1.0F, 1.0F), Clamp(y, -1.0F, 1.0F)};
}

// A stroke with round ends whose radius goes from one value to another.
inline Surface Capsule(Point p, Point from, Point to, float fromRadius, float toRadius) {
    const Point along = to - from;
    const Point way = p - from;
    const float square = along.x * along.x + along.y * along.y;
    const float share = square > 1e-9F ? Clamp01((way.x * along.x + way.y * along.y) / square) : 0.0F;
    const Point off = way - along * share;
    const float radius = Mix(fromRadius, toRadius, share);
    const float distance = Length(off);
    const float scale = radius > 1e-6F ? 1.0F / radius : 0.0F;
    return {distance - radius, Clamp(off.x * scale, -1.0F, 1.0F), Clamp(off.y * scale, -1.0F, 1.0F)};
}

// The distance alone.
inline float RoundedBox(Point p, Point centre, float halfWidth, float halfHeight, float corner) {
    const float x = Absolute(p.x - centre.x) - halfWidth + corner;
    const float y = Absolute(p.y - centre.y) - halfHeight + corner;
    const float outside = Length({Higher(x, 0.0F), Higher(y, 0.0F)});
    return outside + Lower(Higher(x, y), 0.0F) - corner;
}

// Both shapes in one, with a fillet of about `width` where they meet.
inline Surface Join(Surface a, Surface b, float width) {
    const float share = Clamp01(0.5F + 0.5F * (b.distance - a.distance) / width);
    return {Mix(b.distance, a.distance, share) - width * share * (1.0F - share), Mix(b.leanX, a.leanX, share),
            Mix(b.leanY, a.leanY, share)};
}

}  // namespace scenes
