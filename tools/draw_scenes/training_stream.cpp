#include "draw_scenes_tool/training_stream.h"

#include <array>
#include <bit>
#include <limits>

#include "velmo_scenes/random.h"
#include "velmo_scenes/scene.h"
#include "velmo_scenes/seeds.h"

namespace draw_scenes {
namespace {

// Away from the scene's own draws, which begin with the same seed.
constexpr std::uint64_t kStillSalt = 0x5711A11D0C1EULL;

constexpr float kLatestStart = 12.0F;  // of a sequence, in seconds

std::uint64_t FirstSeedOf(WhichScenes which) {
    return which == WhichScenes::HeldOut ? scenes::kFirstHeldOutSeed : 0;
}

// How many there are.
std::uint64_t SeedsOf(WhichScenes which) {
    if (which == WhichScenes::Training) return scenes::kFirstHeldOutSeed;
    return std::numeric_limits<std::uint64_t>::max() - scenes::kFirstHeldOutSeed + 1;
}

using Meta = std::array<float, kMetaFloats>;

Meta MetaOf(const scenes::Frame& frame, bool still) {
    Meta meta{};
    meta[0] = static_cast<float>(frame.people);
    for (std::size_t i = 0; i < frame.persons.size(); ++i) {
        const scenes::PersonFacts& person = frame.persons[i];
        const std::size_t at = 1 + i * 5;
        meta[at] = person.visible ? 1.0F : 0.0F;
        meta[at + 1] = person.headX;
        meta[at + 2] = person.headY;
        meta[at + 3] = person.headHalfWidth;
        meta[at + 4] = person.headHalfHeight;
    }
    meta[11] = static_cast<float>(frame.arms[0]);
    meta[12] = static_cast<float>(frame.arms[1]);
    meta[13] = still ? 1.0F : 0.0F;
    return meta;
}

void AppendFloat(float value, std::string& bytes) {
    const auto bits = std::bit_cast<std::uint32_t>(value);
    for (unsigned shift = 0; shift < 32; shift += 8)
        bytes.push_back(static_cast<char>((bits >> shift) & 0xFFU));
}

}  // namespace

void AppendFrame(const scenes::Frame& frame, bool still, std::string& bytes) {
    bytes.append(frame.rgb.begin(), frame.rgb.end());
    bytes.append(frame.mask.begin(), frame.mask.end());
    for (float value : MetaOf(frame, still))
        AppendFloat(value, bytes);
}

std::string WhyNot(const TrainingOptions& options) {
    const std::uint64_t seeds = SeedsOf(options.scenes);
    if (options.seed > seeds || options.sequences > seeds - options.seed) {
        return options.scenes == WhichScenes::Training ? "seeds from 2^32 up are held out: no training may see them"
                                                       : "there are no so many seeds";
    }
    const double latest = static_cast<double>(kLatestStart) + options.framesPerSequence * options.stepMs / 1000.0;
    return latest > scenes::kLatestMoment ? "so many frames so far apart end after 100000 seconds" : "";
}

bool DrawTrainingStream(const TrainingOptions& options, ByteSink& sink) {
    scenes::Frame frame;
    std::string bytes;
    for (std::uint64_t sequence = 0; sequence < options.sequences; ++sequence) {
        const std::uint64_t seed = FirstSeedOf(options.scenes) + options.seed + sequence;
        scenes::Random random(seed ^ kStillSalt);
        scenes::SceneSettings settings;
        settings.still = static_cast<double>(random.Unit()) < options.stillShare;
        scenes::Scene scene(seed, settings);
        const double start = static_cast<double>(random.Between(0.0F, kLatestStart));
        bytes.clear();
        for (int i = 0; i < options.framesPerSequence; ++i) {
            const double at = start + options.stepMs * 0.001 * i;
            // The first frame has none before it: it is as still as the step to the next.
            const double other = i == 0 ? at + options.stepMs * 0.001 : at - options.stepMs * 0.001;
            scene.Draw(at, options.size.width, options.size.height, frame);
            AppendFrame(frame, scene.IsStillBetween(other, at), bytes);
        }
        if (!sink.Take(bytes)) return false;
    }
    return true;
}

}  // namespace draw_scenes
