#include "velmo_scenes/colour.h"

#include <array>

namespace scenes {
namespace {

template <std::size_t kCount>
Colour Pick(const std::array<Colour, kCount>& colours, Random& random) {
    return colours[static_cast<std::size_t>(random.Index(static_cast<int>(kCount)))];
}

Colour Vary(Colour colour, float amount, Random& random) {
    const float light = 1.0F + random.Bell() * amount;
    return {Clamp01(colour.r * light + random.Bell() * amount * 0.15F),
            Clamp01(colour.g * light + random.Bell() * amount * 0.15F),
            Clamp01(colour.b * light + random.Bell() * amount * 0.15F)};
}

Colour AnyColour(Random& random) {
    return FromHue({random.Unit(), random.Between(0.1F, 0.9F), random.Between(0.15F, 0.95F)});
}

Colour Grey(float value, float tint, Random& random) {
    return {Clamp01(value + random.Bell() * tint), Clamp01(value + random.Bell() * tint * 0.6F),
            Clamp01(value + random.Bell() * tint)};
}

}  // namespace

Colour FromHue(Hue hue) {
    const float sextant = Fraction(hue.hue) * 6.0F;
    const auto channel = [&](float offset) {
        float k = sextant + offset;
        if (k >= 6.0F) k -= 6.0F;
        const float fall = Clamp01(Lower(k, 4.0F - k));
        return hue.value * (1.0F - hue.saturation * fall);
    };
    return {channel(5.0F), channel(3.0F), channel(1.0F)};
}

Colour DrawSkinColour(Random& random) {
    static constexpr std::array<Colour, 12> kTones{{{0.98F, 0.86F, 0.78F},
                                                    {0.96F, 0.80F, 0.69F},
                                                    {0.93F, 0.74F, 0.62F},
                                                    {0.90F, 0.69F, 0.54F},
                                                    {0.86F, 0.64F, 0.47F},
                                                    {0.79F, 0.56F, 0.40F},
                                                    {0.71F, 0.48F, 0.34F},
                                                    {0.60F, 0.40F, 0.28F},
                                                    {0.50F, 0.32F, 0.22F},
                                                    {0.41F, 0.26F, 0.18F},
                                                    {0.31F, 0.20F, 0.15F},
                                                    {0.23F, 0.15F, 0.12F}}};
    return Vary(Pick(kTones, random), 0.12F, random);
}

Colour DrawHairColour(Random& random) {
    static constexpr std::array<Colour, 12> kHair{{{0.06F, 0.05F, 0.05F},
                                                   {0.10F, 0.08F, 0.07F},
                                                   {0.16F, 0.11F, 0.08F},
                                                   {0.25F, 0.16F, 0.10F},
                                                   {0.36F, 0.23F, 0.14F},
                                                   {0.48F, 0.32F, 0.18F},
                                                   {0.20F, 0.13F, 0.09F},
                                                   {0.11F, 0.09F, 0.09F},
                                                   {0.68F, 0.52F, 0.31F},
                                                   {0.85F, 0.72F, 0.48F},
                                                   {0.62F, 0.60F, 0.58F},
                                                   {0.88F, 0.87F, 0.85F}}};
    if (random.Chance(0.06F)) return AnyColour(random);
    if (random.Chance(0.06F)) return Vary({0.52F, 0.22F, 0.09F}, 0.3F, random);
    return Vary(Pick(kHair, random), 0.3F, random);
}

Colour DrawClothColour(Random& random) {
    const float kind = random.Unit();
    if (kind < 0.22F) return Grey(random.Between(0.05F, 0.22F), 0.06F, random);
    if (kind < 0.36F) return Grey(random.Between(0.80F, 0.96F), 0.05F, random);
    if (kind < 0.50F) return Grey(random.Between(0.22F, 0.75F), 0.06F, random);
    if (kind < 0.63F)
        return FromHue({random.Between(0.56F, 0.68F), random.Between(0.3F, 0.8F), random.Between(0.15F, 0.7F)});
    if (kind < 0.72F)
        return FromHue({random.Between(0.02F, 0.12F), random.Between(0.2F, 0.6F), random.Between(0.3F, 0.9F)});
    return AnyColour(random);
}

Colour DrawWallColour(Random& random) {
    const float kind = random.Unit();
    if (kind < 0.40F) return Grey(random.Between(0.55F, 0.95F), 0.05F, random);
    if (kind < 0.55F) return Grey(random.Between(0.08F, 0.55F), 0.06F, random);
    if (kind < 0.72F)
        return FromHue({random.Between(0.04F, 0.14F), random.Between(0.1F, 0.5F), random.Between(0.3F, 0.9F)});
    if (kind < 0.84F)
        return FromHue({random.Between(0.45F, 0.65F), random.Between(0.1F, 0.4F), random.Between(0.3F, 0.9F)});
    if (kind < 0.90F) return DrawSkinColour(random);
    return AnyColour(random);
}

Colour DrawThingColour(Random& random) {
    const float kind = random.Unit();
    if (kind < 0.30F)
        return FromHue({random.Between(0.03F, 0.11F), random.Between(0.2F, 0.7F), random.Between(0.1F, 0.75F)});
    if (kind < 0.50F) return Grey(random.Between(0.04F, 0.35F), 0.06F, random);
    if (kind < 0.70F) return Grey(random.Between(0.4F, 0.95F), 0.06F, random);
    if (kind < 0.78F) return DrawSkinColour(random);
    return AnyColour(random);
}

}  // namespace scenes
