#include "velmo_scenes/clip.h"

namespace scenes {
namespace {

constexpr float kPeriod = 4.0F;
constexpr float kPause = 0.35F;

Light StudioLight() {
    Light light;
    light.x = -0.48F;
    light.y = -0.36F;
    light.z = 0.8F;
    light.ambient = 0.52F;
    light.strength = 0.52F;
    light.tint = {1.02F, 1.0F, 0.97F};
    light.sideways = -0.12F;
    return light;
}

Person Seat(Random& random, float column, float scale) {
    Person person = DrawPerson(random, DrawClothColour(random));
    person.column = column;
    person.row = 0.42F + 2.1F * scale;
    person.scale = scale;
    person.leanDegrees = 2.5F * random.Bell();
    person.turn = 0.25F * (column < 0.5F ? 1.0F : -1.0F);
    person.held = Held::Nothing;
    person.look.fromBehind = false;
    person.look.darkGlasses = false;
    person.look.standing = false;
    person.motion.secondsPerPose = kPeriod * (1.0F - kPause) * 0.5F;  // two poses from pause to pause
    person.motion.sway = 0.9F;
    return person;
}

}  // namespace

Staging StageClip(const ClipSettings& settings) {
    Random random(settings.seed);
    Staging staging;
    staging.noiseSeed = random.Bits();
    staging.light = StudioLight();
    staging.personLight = staging.light;
    staging.camera.contrast = 0.25F;
    staging.camera.vignette = 0.12F;
    staging.camera.blur = 0.0012F;
    staging.camera.background = 0.006F;
    staging.camera.noise = settings.cameraNoise ? 0.006F : 0.0F;
    staging.backdrop = random.Fork();
    staging.people.push_back(Seat(random, 0.71F, 0.105F));
    staging.people.push_back(Seat(random, 0.35F, 0.13F));
    using enum Gesture;
    staging.people[0].motion.script = {{Desk, Desk},       {Desk, Wave}, {Crossed, Crossed},
                                       {Crossed, Crossed}, {Lap, Speak}, {Desk, Out}};
    staging.people[1].motion.script = {{Wave, Desk}, {Wave, Desk}, {Speak, Desk},
                                       {Chin, Desk}, {Up, Lap},    {Out, Chest}};
    staging.shadow = 0.25F;
    staging.shadowOffset = {0.6F, 0.2F};
    staging.pauses = {kPeriod, kPause};
    return staging;
}

}  // namespace scenes
