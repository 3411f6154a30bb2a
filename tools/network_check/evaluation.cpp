#include "network_check_tool/evaluation.h"

#include <algorithm>
#include <cstddef>
#include <span>
#include <vector>

#include "network_check_tool/overlap.h"
#include "velmo_scenes/scene.h"

namespace network_check {
namespace {

constexpr double kStepSeconds = 0.1;
constexpr std::size_t kRows = 9;
constexpr std::size_t kColumns = 16;
constexpr std::size_t kFaceFloats = 1439;
constexpr std::ptrdiff_t kGestures = 9;
constexpr float kFound = 0.5F;

// Sums that become Findings.
class Collector {
 public:
    explicit Collector(ModelRun& model)
        : m_model(model),
          m_empty(static_cast<std::size_t>(model.Width()) * static_cast<std::size_t>(model.Height()), 0) {}

    void Scene(std::uint64_t seed, bool still) {
        scenes::SceneSettings settings;
        settings.still = still;
        scenes::Scene scene(seed, settings);
        std::vector<std::uint8_t> lastAlone;
        std::vector<std::uint8_t> lastFollowing = m_empty;
        for (int i = 0; i < kFrames; ++i) {
            scene.Draw(kStepSeconds * i, m_model.Width(), m_model.Height(), m_frame);
            const std::vector<std::uint8_t> alone = Infer(m_empty);
            if (!still) LookAtHeads();
            const std::vector<std::uint8_t> following = Infer(lastFollowing);
            if (!still) {
                m_overlapAlone.push_back(Overlap(alone, m_frame.mask));
                m_overlapFollowing.push_back(Overlap(following, m_frame.mask));
            } else if (i > 0) {
                m_steadyAlone.push_back(Overlap(alone, lastAlone));
                m_steadyFollowing.push_back(Overlap(following, lastFollowing));
            }
            lastAlone = alone;
            lastFollowing = following;
        }
    }

    Findings Result() {
        Findings findings;
        findings.overlapAlone = Mean(m_overlapAlone);
        findings.overlapFollowing = Mean(m_overlapFollowing);
        findings.steadyAlone = Mean(m_steadyAlone);
        findings.steadyFollowing = Mean(m_steadyFollowing);
        findings.gesturesRight = Mean(m_gestures);
        findings.facesFound = Mean(m_faces);
        findings.facesExtra = Mean(m_extraFaces);
        if (!m_milliseconds.empty()) {
            const auto middle = m_milliseconds.begin() + static_cast<std::ptrdiff_t>(m_milliseconds.size() / 2);
            std::nth_element(m_milliseconds.begin(), middle, m_milliseconds.end());
            findings.milliseconds = *middle;
        }
        return findings;
    }

 private:
    static double Mean(const std::vector<double>& values) {
        double sum = 0;
        for (const double value : values)
            sum += value;
        return values.empty() ? 0 : sum / static_cast<double>(values.size());
    }

    const std::vector<std::uint8_t>& Infer(std::span<const std::uint8_t> previous) {
        const std::vector<std::uint8_t>& mask = m_model.Infer(m_frame.rgb, previous);
        m_milliseconds.push_back(m_model.LastMilliseconds());
        return mask;
    }

    // The layers beside the mask, against what was drawn.
    void LookAtHeads() {
        const std::span<const float> gesture = m_model.Numbers("gesture");
        if (gesture.size() == kGestures && m_frame.people > 0) {
            const auto best = std::max_element(gesture.begin(), gesture.end()) - gesture.begin();
            const auto drawn = static_cast<int>(m_frame.arms[0]) * 3 + static_cast<int>(m_frame.arms[1]);
            m_gestures.push_back(best == drawn ? 1 : 0);
        }
        const std::span<const float> faces = m_model.Numbers("faces_and_landmarks");
        if (faces.size() == kRows * kColumns * kFaceFloats) CountFaces(faces);
    }

    void CountFaces(std::span<const float> faces) {
        std::vector<bool> explained(kRows * kColumns, false);
        for (int i = 0; i < m_frame.people; ++i) {
            const scenes::PersonFacts& person = m_frame.persons[static_cast<std::size_t>(i)];
            if (!person.visible) continue;
            const double x = static_cast<double>(person.headX) / m_frame.width * static_cast<double>(kColumns);
            const double y = static_cast<double>(person.headY) / m_frame.height * static_cast<double>(kRows);
            // At a cell's edge the neighbour is as good.
            bool found = false;
            for (std::size_t cell = 0; cell < explained.size(); ++cell) {
                const std::size_t column = cell % kColumns;
                const std::size_t row = cell / kColumns;
                const double awayX = x - (static_cast<double>(column) + 0.5);
                const double awayY = y - (static_cast<double>(row) + 0.5);
                if (std::max(awayX * awayX, awayY * awayY) > 1.0) continue;
                explained[cell] = true;
                found = found || faces[cell * kFaceFloats] > kFound;
            }
            m_faces.push_back(found ? 1 : 0);
        }
        double extra = 0;
        for (std::size_t cell = 0; cell < explained.size(); ++cell)
            extra += !explained[cell] && faces[cell * kFaceFloats] > kFound ? 1 : 0;
        m_extraFaces.push_back(extra);
    }

    ModelRun& m_model;
    std::vector<std::uint8_t> m_empty;
    scenes::Frame m_frame;
    std::vector<double> m_overlapAlone, m_overlapFollowing, m_steadyAlone, m_steadyFollowing;
    std::vector<double> m_gestures, m_faces, m_extraFaces, m_milliseconds;
};

}  // namespace

Findings Evaluate(ModelRun& model, int scenes) {
    Collector collector(model);
    for (int i = 0; i < scenes; ++i)
        collector.Scene(kFirstSeed + static_cast<std::uint64_t>(i), false);
    for (int i = 0; i < scenes / 2; ++i)
        collector.Scene(kFirstSeed + static_cast<std::uint64_t>(scenes + i), true);
    return collector.Result();
}

}  // namespace network_check
