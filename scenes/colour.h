#pragma once

#include "velmo_scenes/exact_math.h"
#include "velmo_scenes/random.h"

namespace scenes {

// Red, green and blue as a screen shows them, 0 to 1; light may lead above 1 until the camera clips it.
struct Colour {
    float r = 0.0F;
    float g = 0.0F;
    float b = 0.0F;
};

inline Colour operator*(Colour colour, float factor) {
    return {colour.r * factor, colour.g * factor, colour.b * factor};
}
inline Colour operator*(Colour a, Colour b) {
    return {a.r * b.r, a.g * b.g, a.b * b.b};
}
inline Colour operator+(Colour a, Colour b) {
    return {a.r + b.r, a.g + b.g, a.b + b.b};
}
inline Colour Mix(Colour a, Colour b, float share) {
    return {Mix(a.r, b.r, share), Mix(a.g, b.g, share), Mix(a.b, b.b, share)};
}

struct Hue {
    float hue = 0.0F;  // in turns, from red over green to blue
    float saturation = 0.0F;
    float value = 0.0F;
};

Colour FromHue(Hue hue);

Colour DrawSkinColour(Random& random);
Colour DrawHairColour(Random& random);
Colour DrawClothColour(Random& random);
// Of walls and furniture: mostly pale or brown, at times anything.
Colour DrawWallColour(Random& random);
Colour DrawThingColour(Random& random);

}  // namespace scenes
