#include "velmo_scenes/light.h"

namespace scenes {

Light DrawLight(Random& random) {
    Light light;
    const float x = random.Between(-1.0F, 1.0F);
    const float y = random.Between(-0.9F, 0.25F);
    const float z = random.Between(0.25F, 1.1F);
    const float length = Length({Length({x, y}), z});
    light.x = x / length;
    light.y = y / length;
    light.z = z / length;
    light.strength = random.Between(0.15F, 0.85F);
    light.ambient = 1.0F - light.strength * random.Between(0.55F, 0.95F);
    const float warmth = random.Bell() * 0.14F;
    light.tint = {1.0F + warmth, 1.0F + warmth * 0.2F, 1.0F - warmth};
    light.sideways = light.x * random.Between(0.0F, 0.5F) * light.strength;
    return light;
}

}  // namespace scenes
