#include "velmo_scenes/staging.h"

#include <utility>

#include "velmo_scenes/backdrop.h"

namespace scenes {
namespace {

// Which colour the background is rich in is known once it is painted, however small.
Colour RichColour(const Staging& staging) {
    Canvas sketch;
    sketch.Resize(8, 4);
    return PaintBackdrop(sketch, staging.backdrop, staging.light, {});
}

// The second one stands beside the first, mostly about as near.
void PutBeside(const Person& first, Person& second, Random& random) {
    const float side = first.column > 0.5F ? -1.0F : 1.0F;
    if (random.Chance(0.7F)) {
        second.scale = first.scale * random.Between(0.7F, 0.99F);
        second.row = first.row + random.Bell() * first.scale;
        second.look.standing = first.look.standing;
    }
    const float apart = 0.6F * (first.scale + second.scale);  // else one head hides the other
    second.column = first.column + side * Higher(apart, random.Between(0.15F, 0.55F));
}

void DrawPeople(Staging& staging, Random& random) {
    const Colour rich = RichColour(staging);
    const float crowd = random.Unit();
    const int count = crowd < 0.07F ? 0 : crowd < 0.82F ? 1 : 2;
    for (int i = 0; i < count; ++i) {
        Person person = DrawPerson(random, rich);
        if (i == 1) PutBeside(staging.people.front(), person, random);
        staging.people.push_back(person);
    }
    if (count == 2 && staging.people[0].scale > staging.people[1].scale)
        std::swap(staging.people[0], staging.people[1]);
}

}  // namespace

float Pauses::MotionTime(float seconds) const {
    if (period <= 0.0F) return seconds;
    const float periods = seconds / period;
    const auto whole = static_cast<float>(FloorToInt(periods));
    return period * (1.0F - share) * (whole + SmoothStep(0.0F, 1.0F - share, periods - whole));
}

Staging DrawStaging(std::uint64_t seed) {
    Random random(seed);
    Staging staging;
    staging.noiseSeed = Scramble(seed ^ 0xC0FFEEULL);
    staging.light = DrawLight(random);
    staging.personLight = staging.light;
    if (random.Chance(0.35F)) {
        const float nearer = random.Between(0.6F, 1.4F);
        staging.personLight.strength *= nearer;
        staging.personLight.ambient *= Mix(nearer, 1.0F, 0.4F);
    }
    staging.camera = DrawCamera(random);
    staging.backdrop = random.Fork();
    staging.deskThings = random.Fork();
    DrawPeople(staging, random);
    staging.shadow = random.Chance(0.5F) ? random.Between(0.1F, 0.45F) : 0.0F;
    staging.shadowOffset = {-staging.light.x * random.Between(0.2F, 1.6F), random.Between(-0.2F, 0.6F)};
    staging.desk = random.Chance(0.14F);
    if (random.Chance(0.5F)) staging.pauses = {random.Between(2.0F, 7.0F), random.Between(0.2F, 0.7F)};
    return staging;
}

}  // namespace scenes
