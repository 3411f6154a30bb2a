#include "velmo_scenes/scene.h"

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

float CoverOf(const Canvas& canvas) {
    float sum = 0.0F;
    for (const Texel& texel : canvas.Texels())
        sum += texel.cover;
    return sum;
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

// The second one stands beside the first, mostly about as near.
void PutBeside(const Person& first, Person& second, Random& random) {
    const float side = first.column > 0.5F ? -1.0F : 1.0F;
    if (random.Chance(0.7F)) {
        second.scale = first.scale * random.Between(0.7F, 0.99F);
        second.row = first.row + random.Bell() * first.scale;
        second.look.legs = first.look.legs;
    }
    second.column = first.column + side * random.Between(0.15F, 0.55F);
}

}  // namespace

Scene::Scene(std::uint64_t seed, const SceneSettings& settings)
    : m_settings(settings), m_seed(seed), m_backdrop(0), m_deskRandom(0) {
    Random random(seed);
    m_light = DrawLight(random);
    m_camera = DrawCamera(random);
    m_backdrop = random.Fork();
    m_deskRandom = random.Fork();
    // Which colour the background is rich in is known once it is painted, however small.
    Canvas sketch;
    sketch.Resize(8, 4);
    const Colour rich = PaintBackdrop(sketch, m_backdrop, m_light, {});
    const float crowd = random.Unit();
    const int count = crowd < 0.07F ? 0 : crowd < 0.82F ? 1 : 2;
    for (int i = 0; i < count; ++i) {
        Person person = DrawPerson(random, rich);
        if (i == 1) PutBeside(m_people.front(), person, random);
        m_people.push_back(person);
    }
    if (count == 2 && m_people[0].scale > m_people[1].scale) {
        const Person larger = m_people[0];
        m_people[0] = m_people[1];
        m_people[1] = larger;
    }
    m_shadow = random.Chance(0.5F) ? random.Between(0.1F, 0.45F) : 0.0F;
    m_shadowOffset = {-m_light.x * random.Between(0.2F, 1.6F), random.Between(-0.2F, 0.6F)};
    m_desk = random.Chance(0.14F);
    if (random.Chance(0.5F)) {
        m_pausePeriod = random.Between(2.0F, 7.0F);
        m_pauseShare = random.Between(0.2F, 0.7F);
    }
}

float Scene::MotionTime(double seconds) const {
    const auto time = static_cast<float>(seconds);
    if (m_settings.still) return 3.0F;
    if (m_pausePeriod <= 0.0F) return time;
    const float periods = time / m_pausePeriod;
    const auto whole = static_cast<float>(FloorToInt(periods));
    // Movement slows down into a pause and starts slowly after it.
    return m_pausePeriod * (1.0F - m_pauseShare) * (whole + SmoothStep(0.0F, 1.0F - m_pauseShare, periods - whole));
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
        PaintBackdrop(m_background, m_backdrop, m_light, shift);
        Blur(m_background, m_camera.background, m_camera.background);
    }
    m_canvas = m_background;
}

void Scene::PaintPeople(float time, Point shift, Frame& frame) {
    frame.people = 0;
    frame.persons = {};
    frame.arms = {ArmState::Down, ArmState::Down};
    const float enough = 0.0004F * static_cast<float>(m_canvas.Width()) * static_cast<float>(m_canvas.Height());
    float before = 0.0F;
    for (const Person& person : m_people) {
        Pose pose = PoseAt(person, time, m_canvas.Aspect());
        pose.origin = pose.origin + shift;
        const Sitter sitter = MakeSitter(person, pose, m_light);
        if (m_shadow > 0.0F) PaintShadow(m_canvas, sitter, m_shadowOffset, m_shadow);
        PaintPerson(m_canvas, sitter);
        const float after = CoverOf(m_canvas);
        if (after - before > enough) {
            frame.persons[1] = frame.persons[0];
            frame.persons[0] = FactsOf(sitter, m_canvas);
            frame.arms = {StateOf(pose.arms[0], -1.0F), StateOf(pose.arms[1], 1.0F)};
            ++frame.people;
        }
        before = after;
    }
}

// What stands in front of everybody: a desk's edge, and things on it.
void Scene::PaintDesk(Point shift) {
    Random random = m_deskRandom;
    const Colour wood = DrawThingColour(random) * (m_light.ambient + 0.6F * m_light.strength);
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
    if (m_camera.unrest > 0.0F) {
        shift = {m_camera.unrest * noise.SoftAt(time * 0.4F, 17.3F),
                 m_camera.unrest * noise.SoftAt(time * 0.4F, 23.6F)};
    }
    PrepareBackground(width, height, shift);
    PaintPeople(time, shift, frame);
    if (m_desk) PaintDesk(shift);
    Camera camera = m_camera;
    if (!m_settings.cameraNoise) camera.noise = 0.0F;
    const auto moment = static_cast<std::uint64_t>(seconds * 1000.0 + 0.5);
    Develop(m_canvas, camera, Scramble(m_seed ^ 0xC0FFEEULL) + moment * 0x100000001B3ULL, frame);
}

}  // namespace scenes
