#include "velmo_scenes/scene.h"

#include <algorithm>

#include "velmo_scenes/backdrop.h"
#include "velmo_scenes/furniture.h"
#include "velmo_scenes/paint_person.h"
#include "velmo_scenes/value_noise.h"

namespace scenes {
namespace {

ArmState StateOf(const Joints& joints, float side) {
    if (joints.hand.y < joints.shoulder.y - 0.2F) return ArmState::Raised;
    if (side * (joints.hand.x - joints.shoulder.x) > 1.5F) return ArmState::Out;
    return ArmState::Down;
}

PersonFacts FactsOf(const Sitter& sitter, const Canvas& canvas) {
    const auto height = static_cast<float>(canvas.Height());
    PersonFacts facts;
    facts.headX = sitter.head.origin.x * height;
    facts.headY = sitter.head.origin.y * height;
    facts.headHalfHeight = sitter.head.scale * height;
    facts.headHalfWidth = facts.headHalfHeight * sitter.person.look.headWidth;
    facts.visible = facts.headX >= 0.0F && facts.headX < static_cast<float>(canvas.Width()) && facts.headY >= 0.0F &&
                    facts.headY < height;
    return facts;
}

// The nearest first, of those that were painted: how many pixels of them are seen. Sums are worked out in doubles,
// which lose nothing that matters at any size of a picture.
std::array<double, 2> SeenOf(const Canvas& canvas) {
    double all = 0.0;
    double nearest = 0.0;
    for (const Texel& texel : canvas.Texels())
        all += static_cast<double>(texel.cover);
    for (const float cover : canvas.Latest())
        nearest += static_cast<double>(cover);
    return {nearest, all - nearest};
}

Staging Apply(const SceneSettings& settings, Staging staging) {
    staging.still = settings.still;
    if (!settings.cameraNoise) staging.camera.noise = 0.0F;
    return staging;
}

}  // namespace

Scene::Scene(std::uint64_t seed, const SceneSettings& settings) : Scene(Apply(settings, DrawStaging(seed))) {}

Scene::Scene(const Staging& staging) : m_staging(staging) {}

float Scene::MotionTime(double seconds) const {
    constexpr float kAnyMoment = 3.0F;
    return m_staging.still ? kAnyMoment : m_staging.pauses.MotionTime(static_cast<float>(seconds));
}

bool Scene::IsStillBetween(double fromSeconds, double toSeconds) const {
    return MotionTime(fromSeconds) == MotionTime(toSeconds);
}

void Scene::PrepareBackground(int width, int height, Point shift) {
    const bool same = m_background.Width() == width && m_background.Height() == height &&
                      m_backgroundShift.x == shift.x && m_backgroundShift.y == shift.y;
    if (!same) {
        m_background.Resize(width, height);
        m_backgroundShift = shift;
        PaintBackdrop(m_background, m_staging.backdrop, m_staging.light, shift);
        Blur(m_background, m_staging.camera.background, m_staging.camera.background);
    }
    m_canvas = m_background;
}

// Leaves the nearest person's facts in m_told[0], and those of the one behind in m_told[1].
void Scene::PaintPeople(float time, Point shift) {
    for (const Person& person : m_staging.people) {
        Pose pose = PoseAt(person, time, m_canvas.Aspect());
        pose.origin = pose.origin + shift;
        const Sitter sitter = MakeSitter(person, pose, m_staging.personLight);
        if (m_staging.shadow > 0.0F) PaintShadow(m_canvas, sitter, m_staging.shadowOffset, m_staging.shadow);
        m_canvas.BeginPerson();
        PaintPerson(m_canvas, sitter);
        m_told[1] = m_told[0];
        m_told[0] = {FactsOf(sitter, m_canvas), {StateOf(pose.arms[0], -1.0F), StateOf(pose.arms[1], 1.0F)}};
    }
}

// Who is seen is known when all is painted: a desk or a person in front may hide somebody.
void Scene::TellPeople(Frame& frame) const {
    frame.people = 0;
    frame.persons = {};
    frame.arms = {ArmState::Down, ArmState::Down};
    const double enough = kLeastSeen * static_cast<double>(m_canvas.Texels().size());
    const std::array<double, 2> seen = SeenOf(m_canvas);
    for (std::size_t i = 0; i < std::min(seen.size(), m_staging.people.size()); ++i) {
        if (seen[i] <= enough) continue;
        if (frame.people == 0) frame.arms = m_told[i].arms;
        frame.persons[static_cast<std::size_t>(frame.people++)] = m_told[i].facts;
    }
}

// What stands in front of everybody: a desk's edge, and things on it.
void Scene::PaintDesk(Point shift) {
    Random random = m_staging.deskThings;
    const Colour wood = DrawThingColour(random) * (m_staging.light.ambient + 0.6F * m_staging.light.strength);
    const float top = random.Between(0.78F, 0.95F);
    const float aspect = m_canvas.Aspect();
    if (random.Chance(0.75F)) {
        const Placing at{Point{aspect * 0.5F, top + 0.25F} + shift, 1.0F, 1.0F, 0.0F};
        PaintBox(m_canvas, random, at.Within({}, random.Between(-1.5F, 1.5F)), {aspect, 0.25F}, wood);
    }
    const int things = random.Index(3);
    for (int i = 0; i < things; ++i) {
        const Placing at{Point{random.Between(0.0F, 1.0F) * aspect, top} + shift, 1.0F, 1.0F, 0.0F};
        const Colour colour = DrawThingColour(random);
        PaintBox(m_canvas, random, at, {random.Between(0.02F, 0.14F), random.Between(0.03F, 0.12F)}, colour);
    }
}

void Scene::Draw(double seconds, int width, int height, Frame& frame) {
    const float time = MotionTime(seconds);
    const ValueNoise& noise = ValueNoise::Instance();
    Point shift;
    if (m_staging.camera.unrest > 0.0F) {
        shift = {m_staging.camera.unrest * noise.SoftAt(time * 0.4F, 17.3F),
                 m_staging.camera.unrest * noise.SoftAt(time * 0.4F, 23.6F)};
    }
    PrepareBackground(width, height, shift);
    PaintPeople(time, shift);
    if (m_staging.desk) PaintDesk(shift);
    TellPeople(frame);
    const auto moment = static_cast<std::uint64_t>(seconds * 1000.0 + 0.5);
    Camera camera = m_staging.camera;
    camera.gain = camera.gain * (1.0F + camera.flicker * noise.SoftAt(time * 0.7F, 29.1F));
    Develop(m_canvas, camera, m_staging.noiseSeed + moment * 0x100000001B3ULL, frame);
}

}  // namespace scenes
