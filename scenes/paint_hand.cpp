#include "velmo_scenes/paint_person.h"

namespace scenes {
namespace {

void PaintHeld(Canvas& canvas, const Sitter& sitter, const Placing& hand) {
    const Look& look = sitter.person.look;
    Point half{0.22F, 0.42F};
    if (sitter.person.held == Held::Cup) half = {0.34F, 0.4F};
    if (sitter.person.held == Held::Paper) half = {0.8F, 1.0F};
    const Colour colour = sitter.person.held == Held::Phone ? Colour{0.1F, 0.1F, 0.12F}
                                                            : Mix(look.chairColour, Colour{0.9F, 0.9F, 0.9F}, 0.6F);
    canvas.Paint(
        hand.Within({0.0F, 0.45F}, 0.0F), {{-half.x - 0.1F, -half.y - 0.1F}, {half.x + 0.1F, half.y + 0.1F}},
        Role::Thing, 1.0F, 0.0F,
        [&](Point p) {
            return Surface{RoundedBox(p, {}, half.x, half.y, 0.06F), Clamp(p.x / half.x, -1.0F, 1.0F), 0.0F};
        },
        [&](Point, const Surface& s) { return colour * sitter.light.On(s, 0.7F); });
}

}  // namespace

void PaintHand(Canvas& canvas, const Sitter& sitter, std::size_t arm) {
    const Look& look = sitter.person.look;
    const Joints& joints = sitter.pose.arms[arm];
    const ArmPose& pose = sitter.pose.armPoses[arm];
    const float side = arm == 0 ? -1.0F : 1.0F;
    // The hand's own coordinates: y goes from the wrist to the fingers' ends.
    const Placing hand = sitter.body.Within(joints.hand, -side * pose.foreDegrees, pose.handSize);
    const auto paint = [&](Point from, Point to, float fromRadius, float toRadius, float shade) {
        canvas.Paint(
            hand, Around(from, to, Higher(fromRadius, toRadius) + 0.05F), Role::Person, 1.0F, 0.0F,
            [&](Point p) { return Capsule(p, from, to, fromRadius, toRadius); },
            [&](Point p, const Surface& s) { return SkinAt(look, p) * sitter.light.On(s, look.bulge * 0.8F) * shade; });
    };
    const bool holds = sitter.person.held != Held::Nothing && static_cast<std::size_t>(sitter.person.holdingArm) == arm;
    const float spread = holds ? 0.0F : pose.spread;
    const bool fist = spread < 0.2F;
    paint({0.0F, 0.0F}, {0.0F, 0.35F}, 0.24F, 0.3F, 1.0F);
    if (holds) PaintHeld(canvas, sitter, hand);
    const float length = fist ? 0.16F : 0.3F + 0.15F * spread;
    for (int finger = 0; finger < 4; ++finger) {
        const float at = (static_cast<float>(finger) - 1.5F) * 0.15F;
        const float reach = length * (finger == 0 || finger == 3 ? 0.85F : 1.0F);
        const Point base{at, 0.45F};
        paint(base, base + Point{at * spread * 1.6F, reach}, 0.085F, 0.075F,
              0.94F + 0.04F * static_cast<float>(finger & 1));
    }
    const float thumb = -side;
    paint({thumb * 0.2F, 0.15F}, {thumb * (0.3F + 0.22F * spread), 0.5F}, 0.1F, 0.08F, 0.97F);
}

}  // namespace scenes
