#pragma once

#include <cmath>
#include <cstdint>

// Arithmetic that gives the same bits on every system and at every level of optimisation: sums, products, quotients and
// square roots of IEEE numbers are exact to the bit, the standard library's sine or power are not. The target is
// compiled without contraction of products and sums for the same reason. All functions: any thread.
namespace scenes {

inline constexpr float kPi = 3.14159265F;

inline float Mix(float a, float b, float share) {
    return a + (b - a) * share;
}
inline float Absolute(float value) {
    return value < 0.0F ? -value : value;
}
inline float Lower(float a, float b) {
    return a < b ? a : b;
}
inline float Higher(float a, float b) {
    return a > b ? a : b;
}
inline float Clamp(float value, float low, float high) {
    return Lower(Higher(value, low), high);
}
inline float Clamp01(float value) {
    return Clamp(value, 0.0F, 1.0F);
}
inline float Root(float value) {
    return value > 0.0F ? std::sqrt(value) : 0.0F;
}

// The whole number at or below `value`, whose amount stays under 2^31.
inline std::int32_t FloorToInt(float value) {
    const auto whole = static_cast<std::int32_t>(value);
    return static_cast<float>(whole) > value ? whole - 1 : whole;
}
inline float Fraction(float value) {
    return value - static_cast<float>(FloorToInt(value));
}

// 0 at or beyond `low`, 1 at or beyond `high`, smooth between them. Falls as `value` grows when `low` is above `high`.
// The two differ.
inline float SmoothStep(float low, float high, float value) {
    const float t = Clamp01((value - low) / (high - low));
    return t * t * (3.0F - 2.0F * t);
}

// Sine of `turns` full turns, to within 0.001. The amount of `turns` stays under 2^31.
inline float SineOfTurns(float turns) {
    const float t = Fraction(turns) - 0.5F;            // sin(2 pi x) = -sin(2 pi t)
    const float y = t * (8.0F - 16.0F * Absolute(t));  // a parabola through the zeros and the peaks
    return -y * (0.7759F + 0.2241F * Absolute(y));     // and its correction
}
inline float CosineOfTurns(float turns) {
    return SineOfTurns(turns + 0.25F);
}
inline float SineOfDegrees(float degrees) {
    return SineOfTurns(degrees * (1.0F / 360.0F));
}
inline float CosineOfDegrees(float degrees) {
    return CosineOfTurns(degrees * (1.0F / 360.0F));
}

}  // namespace scenes
