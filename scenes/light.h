#pragma once

#include "velmo_scenes/colour.h"
#include "velmo_scenes/shapes.h"

namespace scenes {

// One soft light from a side and what the room gives back.
struct Light {
    float x = 0.0F;  // where it comes from; x, y (down) and z (towards the viewer) have length 1
    float y = -0.5F;
    float z = 0.8F;
    float ambient = 0.6F;
    float strength = 0.5F;
    Colour tint{1.0F, 1.0F, 1.0F};
    float sideways = 0.0F;  // how much brighter the picture's right side is than its middle

    // The light on a bulging surface; `bulge` from 0 (flat) to 1 (round).
    Colour On(const Surface& surface, float bulge) const {
        const float leanX = surface.leanX * bulge;
        const float leanY = surface.leanY * bulge;
        const float facing = Root(1.0F - leanX * leanX - leanY * leanY);
        const float direct = Higher(leanX * x + leanY * y + facing * z, 0.0F);
        return tint * (ambient * (0.75F + 0.25F * facing) + strength * direct);
    }
};

Light DrawLight(Random& random);

}  // namespace scenes
