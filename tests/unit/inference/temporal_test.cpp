// Which frames are inferred, and what is kept from one to the next: held against the rules, told once more and plainly.

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "inference_fixture.h"

namespace inference_tests {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::Not;

using Bytes = std::vector<std::uint8_t>;

// The pixels whose surroundings, two pixels in each direction, hold both foreground and background.
Bytes BandOf(const Bytes& mask) {
    Bytes band(kArea, 0);
    const auto width = static_cast<int>(kWidth);
    const auto height = static_cast<int>(kHeight);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            bool hasForeground = false;
            bool hasBackground = false;
            for (int v = std::max(0, y - 2); v <= std::min(height - 1, y + 2); ++v) {
                for (int u = std::max(0, x - 2); u <= std::min(width - 1, x + 2); ++u) {
                    const bool isForeground = mask[static_cast<std::size_t>(v * width + u)] > 128;
                    hasForeground = hasForeground || isForeground;
                    hasBackground = hasBackground || !isForeground;
                }
            }
            band[static_cast<std::size_t>(y * width + x)] = hasForeground && hasBackground ? 1 : 0;
        }
    }
    return band;
}

std::int64_t SumOf(const Bytes& bytes) {
    std::int64_t sum = 0;
    for (const std::uint8_t byte : bytes)
        sum += byte;
    return sum;
}

// The rules by which frames are skipped and the reference is refreshed.
class Rules {
 public:
    // Whether this frame is inferred.
    bool Decide(const Bytes& frame, bool isTemporal) {
        if (!isTemporal || m_isFirst) {
            if (!isTemporal && !m_needs) ++stale;
            return m_needs;
        }
        permilles.push_back(0);
        const auto edges = std::count(m_band.begin(), m_band.end(), 1);
        m_needs = false;
        if (m_skips > 16) {
            m_needs = true;
            ++forced;
        } else if (edges < 9) {
            ++withoutEdges;
        } else {
            std::int64_t changed = 0;
            for (std::size_t i = 0; i < kArea; ++i) {
                if (m_band[i] == 0) continue;
                int difference = 0;
                for (std::size_t plane = 0; plane < 3; ++plane)
                    difference += std::abs(frame[plane * kArea + i] - m_reference[plane * kArea + i]);
                changed += difference > 30 ? 1 : 0;
            }
            permilles.back() = changed * 1000 / edges;
            m_needs = permilles.back() > 180;
            if (m_needs) ++byChange;
        }
        m_skips = m_needs ? 0 : m_skips + 1;
        return m_needs;
    }

    // An inference has given this mask for the frame.
    void Keep(const Bytes& frame, const Bytes& newMask, bool isTemporal) {
        mask = newMask;
        if (isTemporal) {
            const std::int64_t sum = SumOf(newMask);
            const double ratio = (static_cast<double>(m_sum) + 1) / (static_cast<double>(sum) + 1);
            const bool isTenth = m_inferences % 10 == 0;
            const bool isJump = std::abs(ratio - 1) > 0.2;
            if (isTenth || isJump) {
                m_band = BandOf(newMask);
                m_reference = frame;
                m_sum = sum;
            }
            tenths += isTenth ? 1 : 0;
            jumps += isJump && !isTenth ? 1 : 0;
            kept += isTenth || isJump ? 0 : 1;
            previous = newMask;
        }
        ++m_inferences;
        m_isFirst = false;
    }

    Bytes mask = Bytes(kArea, 0);      // of the last inference
    Bytes previous = Bytes(kArea, 0);  // that the network is given
    std::vector<std::int64_t> permilles;
    // How often each rule was at work.
    int forced = 0, withoutEdges = 0, byChange = 0, stale = 0, tenths = 0, jumps = 0, kept = 0;

 private:
    bool m_needs = true;
    bool m_isFirst = true;
    int m_skips = 0;
    int m_inferences = 0;
    std::int64_t m_sum = 0;
    Bytes m_band = Bytes(kArea, 0);
    Bytes m_reference = Bytes(3 * kArea, 0);
};

// A disc before a background that flickers below the threshold, or above it.
struct Scene {
    int x = 128;
    int y = 72;
    int radius = 40;
    int flicker = 9;

    void Paint(Bytes& frame, std::mt19937& random) const {
        for (std::size_t i = 0; i < kArea; ++i) {
            const int dx = static_cast<int>(i % kWidth) - x;
            const int dy = static_cast<int>(i / kWidth) - y;
            const int value = dx * dx + dy * dy <= radius * radius ? 200 : 40;
            for (std::size_t plane = 0; plane < 3; ++plane) {
                const int noise = flicker == 0 ? 0 : static_cast<int>(random() % static_cast<unsigned>(flicker + 1));
                frame[plane * kArea + i] = static_cast<std::uint8_t>(value + noise);
            }
        }
    }
};

class Temporal : public Inference {
 protected:
    // Gives the helper a frame; true when it was inferred.
    bool Infers(RvoHvqHelper& helper, const Frame& frame) {
        const int before = m_library.Count("hvqInfer");
        EXPECT_EQ(helper.Infer(&frame.input, &m_output), 0U);
        EXPECT_EQ(m_output.status, 0);
        return m_library.Count("hvqInfer") > before;
    }

    RvoCalyrOutput m_output{HeaderOf(kWidth, kHeight)};
};

// What a round's mask layer lacks.
struct BadMask {
    std::string script;   // makes the next inference's mask so
    std::string mending;  // and takes it back
    std::string line;     // that says it, once
    std::uint32_t outputHeight;
    int rounds = 0;  // that have failed by it
};

TEST_F(Temporal, FollowsTheRulesOverHundredsOfFrames) {
    m_library.Add(
        "fill segmentation copy input 0\n"
        "fill segmentation from 44 copy input 36864\n"
        "fill segmentation from 64 constant 255\n"
        "fill segmentation from 66 constant 0\n"
        "fill segmentation from 68 copy input 73728");
    const auto maskOf = [](int inference, const Bytes& frame) {
        if (inference >= 64 && inference < 68) return Bytes(kArea, inference < 66 ? 255 : 0);
        const std::size_t plane = inference < 44 ? 0 : inference < 64 ? 1 : 2;
        const auto first = frame.begin() + static_cast<std::ptrdiff_t>(plane * kArea);
        return Bytes(first, first + static_cast<std::ptrdiff_t>(kArea));
    };
    RvoInhouseHvqHelper helper(Seams());
    InitGood(helper);
    Rules rules;
    std::mt19937 random(20260318);
    std::vector<std::string> wantedLines = {"2 RvoHvqHelper::Infer() TF"};
    Scene scene;
    Frame frame;
    int inferences = 0;
    int inferencesReported = 0;
    // Rounds of these kinds count for nothing in the rules.
    std::vector<BadMask> badMasks = {
        {"null hvqGetLayerData next", "", "0 RvoHvqHelper::SetMask(), maskName segmentation not exists", kHeight},
        {"layer output segmentation 1 1 144 255", "layer output segmentation 1 1 144 256",
         "0 RvoHvqHelper::SetMask(), [outputWidth/outputHeight]=[255/144] not match [inputWidth/inputHeight]=[256/144]",
         kHeight},
        {"", "", "0 RvoHvqHelper::SetMask(), mask length not match, outputMaskLength=36608, maskLen=36864",
         kHeight - 1}};

    for (int number = 1; number <= 500; ++number) {
        SCOPED_TRACE("frame " + std::to_string(number));
        const int phase = number / 40 % 6;
        scene.flicker = phase == 5 ? 60 : 9;
        if (phase == 1) scene.x += 1;                                          // drifts
        if (phase == 2) scene.x = 60 + static_cast<int>(random() % 140);       // jumps
        if (phase == 3) scene.radius += number % 2 == 0 ? 1 : 0;               // grows
        if (phase == 4) scene.radius = 20 + static_cast<int>(random() % 50U);  // changes its size
        if (number % 120 == 0) scene = Scene();
        const bool isTemporal = number % 50 < 44;
        scene.Paint(frame.bytes, random);
        frame.Temporal(isTemporal);
        const std::size_t values = rules.permilles.size();

        const bool wanted = rules.Decide(frame.bytes, isTemporal);
        const bool fails = wanted && (number <= 4 || (number > 240 && inferences % 4 == 0));
        BadMask& badMask = badMasks[static_cast<std::size_t>(number % 3)];

        if (fails) {
            const int before = m_library.Count("hvqInfer");
            m_library.Add(badMask.script);
            RvoCalyrOutput output(HeaderOf(kWidth, badMask.outputHeight));
            ASSERT_EQ(helper.Infer(&frame.input, &output), 0U);
            ASSERT_EQ(output.status, 2);
            ASSERT_EQ(m_library.Count("hvqInfer"), before + 1);
            m_library.Add(badMask.mending);
            if (++badMask.rounds == 1) wantedLines.push_back(badMask.line);
        } else {
            ASSERT_EQ(Infers(helper, frame), wanted);
        }
        if (wanted) {
            ++inferences;
            std::vector<float> input(frame.bytes.begin(), frame.bytes.end());
            input.insert(input.end(), rules.previous.begin(), rules.previous.end());
            ASSERT_TRUE(m_library.Input("input") == input);
            if (!fails) rules.Keep(frame.bytes, maskOf(inferences, frame.bytes), isTemporal);
        }
        if (!fails) {
            ASSERT_TRUE(MaskOf(m_output) == (wanted ? rules.mask : rules.previous));
        }
        m_library.ForgetCalls();

        if (rules.permilles.size() > values && rules.permilles.size() % 100 == 0) {
            std::vector<std::int64_t> last(rules.permilles.end() - 100, rules.permilles.end());
            std::sort(last.begin(), last.end());
            std::int64_t sum = 0;
            for (const std::int64_t value : last)
                sum += value;
            wantedLines.push_back("2 RvoHvqHelper::Infer(), content_change_permille: rounds=100, min=" +
                                  std::to_string(last.front()) + ", max=" + std::to_string(last.back()) +
                                  ", avg=" + std::to_string(sum / 100) + ", p95=" + std::to_string(last[94]));
        }
        if (number % 100 == 0) {
            const int count = inferences - inferencesReported;
            inferencesReported = inferences;
            wantedLines.push_back(
                "2 RvoHvqHelper::Infer(), runtime_metrics: rounds=100, skip=" + std::to_string(100 - count) +
                ", infer_utilization_pct=" + std::to_string(count) +
                ", preprocess_ms={count=100, min=0, max=0, avg=0, p95=0}, infer_ms={count=" + std::to_string(count) +
                ", min=0, max=0, avg=0, p95=0}, postprocess_ms={count=100, min=0, max=0, avg=0, "
                "p95=0}");
        }
    }

    EXPECT_EQ(Lines(helper), wantedLines);
    // All rules had something to say.
    EXPECT_GE(rules.forced, 3);
    EXPECT_GE(rules.withoutEdges, 17);
    EXPECT_GE(rules.byChange, 20);
    EXPECT_GE(rules.stale, 3);
    EXPECT_GE(rules.tenths, 4);
    EXPECT_GE(rules.jumps, 5);
    EXPECT_GE(rules.kept, 20);
    EXPECT_GT(inferences, 68);
    for (const BadMask& badMask : badMasks)
        EXPECT_GE(badMask.rounds, 5) << badMask.line;
}

TEST_F(Temporal, SkipsSeventeenFramesOfAnUnchangedSceneAndInfersTheNext) {
    m_library.Add("fill segmentation copy input 0");
    RvoCalyrHvqHelper helper(Seams());
    InitGood(helper);
    std::mt19937 random(1);
    Frame frame;
    Scene().Paint(frame.bytes, random);
    frame.Temporal();

    std::string pattern;
    for (int number = 0; number < 40; ++number)
        pattern += Infers(helper, frame) ? 'I' : '.';

    EXPECT_EQ(pattern, "I.................I.................I...");
}

TEST_F(Temporal, SkipsUpToTheLimitWhileTheMaskHasNoEdge) {
    for (const std::string value : {"0", "128", "129", "255"}) {
        m_library.Add("fill segmentation constant " + value);
        RvoCalyrHvqHelper helper(Seams());
        InitGood(helper);
        std::string pattern;
        for (int number = 0; number < 20; ++number) {
            Frame frame(static_cast<std::uint8_t>(number * 12));  // whatever they look like
            pattern += Infers(helper, frame.Temporal()) ? 'I' : '.';
        }
        EXPECT_EQ(pattern, "I.................I.") << value;
    }
}

TEST_F(Temporal, InfersWhenMoreThanAHundredAndEightyPermilleOfTheEdgeHaveChanged) {
    m_library.Add("fill segmentation copy input 0");
    RvoCalyrHvqHelper helper(Seams());
    InitGood(helper);
    std::mt19937 random(1);
    Scene scene;
    scene.flicker = 0;
    Frame frame;
    scene.Paint(frame.bytes, random);
    const Bytes band = BandOf(Bytes(frame.bytes.begin(), frame.bytes.begin() + static_cast<std::ptrdiff_t>(kArea)));
    const auto edges = std::count(band.begin(), band.end(), 1);
    // The most pixels whose permille is still 180 when truncated.
    const std::int64_t most = (181 * edges - 1) / 1000;
    ASSERT_EQ(most * 1000 / edges, 180);
    ASSERT_EQ((most + 1) * 1000 / edges, 181);
    ASSERT_TRUE(Infers(helper, frame.Temporal()));
    const auto changed = [&](std::int64_t pixels, std::uint8_t by) {
        auto copy = std::make_unique<Frame>();
        copy->bytes = frame.bytes;
        copy->input.data = copy->bytes.data();
        for (std::size_t i = 0; i < kArea && pixels > 0; ++i) {
            if (band[i] == 0) continue;
            for (std::size_t plane = 0; plane < 3; ++plane)
                copy->bytes[plane * kArea + i] = static_cast<std::uint8_t>(frame.bytes[plane * kArea + i] - by);
            --pixels;
        }
        copy->Temporal();
        return copy;
    };

    EXPECT_FALSE(Infers(helper, *changed(edges, 10))) << "30 is not above 30";
    EXPECT_FALSE(Infers(helper, *changed(most, 11)));
    EXPECT_TRUE(Infers(helper, *changed(most + 1, 11)));
}

TEST_F(Temporal, KeepsItsLastDecisionForFramesThatAskForNone) {
    m_library.Add("fill segmentation constant 0");
    RvoCalyrHvqHelper helper(Seams());
    InitGood(helper);
    Frame frame;

    EXPECT_TRUE(Infers(helper, frame.Temporal(false)));
    EXPECT_TRUE(Infers(helper, frame.Temporal(false))) << "with the flag clear from the start all are inferred";
    EXPECT_FALSE(Infers(helper, frame.Temporal()));
    for (int number = 0; number < 30; ++number)
        EXPECT_FALSE(Infers(helper, frame.Temporal(false))) << "stale, on purpose";
    for (int number = 0; number < 16; ++number)
        EXPECT_FALSE(Infers(helper, frame.Temporal())) << "the stale ones did not count";
    EXPECT_TRUE(Infers(helper, frame.Temporal()));
    EXPECT_TRUE(Infers(helper, frame.Temporal(false)));
}

TEST_F(Temporal, GivesASkippedFrameThePreviousMaskWithoutAskingForIt) {
    m_library.Add("fill segmentation constant 55\nfill gesture inference 1");
    RvoCalyrHvqHelper helper(Seams());
    InitGood(helper);
    Frame frame;
    m_clock.Advance(std::chrono::milliseconds(70));
    ASSERT_TRUE(Infers(helper, frame.Temporal()));
    m_library.ForgetCalls();
    m_clock.Advance(std::chrono::milliseconds(70));
    RvoCalyrOutput other(HeaderOf(kWidth, kHeight));

    EXPECT_EQ(helper.Infer(&frame.input, &other), 0U);

    EXPECT_EQ(other.status, 0);
    EXPECT_EQ(MaskOf(other), Bytes(kArea, 55));
    EXPECT_EQ(other.header.stampMs, 0U) << "the stamp is not touched";
    EXPECT_EQ(m_output.header.stampMs, 70U);
    EXPECT_EQ((*other.gesture)[0], 1.0F) << "the other layers are read again";
    const std::vector<std::string> calls = m_library.CallTexts();
    EXPECT_THAT(calls, Not(Contains("hvqGetLayerData 2 \"segmentation\"")));
    EXPECT_THAT(calls, Contains("hvqGetLayerData 2 \"gesture\""));
    EXPECT_THAT(calls, Contains("hvqGetLayerData 2 \"motion\""));
    EXPECT_THAT(calls, Contains("hvqGetLayerData 2 \"faces_and_landmarks\""));
    EXPECT_THAT(calls, Not(Contains("hvqInfer 2")));
}

TEST_F(Temporal, InfersEachFrameUntilThereIsAMask) {
    m_library.Add("no-data segmentation");
    RvoCalyrHvqHelper helper(Seams());
    InitGood(helper);
    Frame frame;
    frame.Temporal();

    for (int number = 0; number < 5; ++number)
        EXPECT_EQ(helper.Infer(&frame.input, &m_output), 0U);

    EXPECT_EQ(m_library.Count("hvqInfer"), 5);
    EXPECT_EQ(m_output.status, 2);
}

TEST_F(Temporal, AfterAFailedInferenceStartsTheNextRunOfSkips) {
    m_library.Add("fill segmentation constant 0\nfail hvqInfer 2 broken");
    RvoCalyrHvqHelper helper(Seams());
    InitGood(helper);
    Frame frame;
    frame.Temporal();

    std::string pattern;
    for (int number = 0; number < 38; ++number) {
        const int before = m_library.Count("hvqInfer");
        const std::uint32_t status = helper.Infer(&frame.input, &m_output);
        pattern += status == 4 ? 'X' : m_library.Count("hvqInfer") > before ? 'I' : '.';
    }

    EXPECT_EQ(pattern, "I.................X.................I.");
}

TEST_F(Temporal, TakesExactlyTheFramesOwnBytesForTheReference) {
    // One pixel in the corner is foreground, and the nine pixels there are the band: one of them that has changed is
    // 111 permille, two are 222.
    m_library.Add("fill segmentation values 255");
    RvoCalyrHvqHelper helper(Seams());
    InitGood(helper);
    Frame frame(200);
    frame.Temporal();
    frame.input.dataSize = kArea + 2;  // the second plane's bytes of the band's first two pixels, not of its third
    ASSERT_TRUE(Infers(helper, frame));
    frame.input.dataSize = 3 * kArea;
    std::fill(frame.bytes.begin() + kArea + 2, frame.bytes.end(), std::uint8_t{0});  // as the reference was before

    frame.bytes[2 * kArea] = 100;
    EXPECT_FALSE(Infers(helper, frame)) << "one pixel differs, and no other";
    frame.bytes[2 * kArea + kWidth] = 100;
    EXPECT_TRUE(Infers(helper, frame)) << "two do";
}

TEST_F(Temporal, TakesTheAreaJumpAgainstTheNewSum) {
    // A refresh shows in what the next frame is compared with: the reference, along the edge of a mask that is not
    // full.
    struct Case {
        std::size_t firstRows;
        std::size_t thenRows;
        bool refreshes;
    };
    for (const Case& one : std::vector<Case>{
             {100, 80, true},    // 1.25
             {121, 100, true},   // 1.21
             {119, 100, false},  // 1.19
             {100, 90, false},   // 1.11
             {60, 66, false},    // 0.91
             {81, 100, false},   // 0.81
             {79, 100, true},    // 0.79
             {50, 100, true},    // 0.5
         }) {
        SCOPED_TRACE(std::to_string(one.firstRows) + " to " + std::to_string(one.thenRows));
        m_library.Add("fill segmentation copy input 0");
        RvoCalyrHvqHelper helper(Seams());
        InitGood(helper);
        const auto frameOf = [](std::size_t rows) {
            auto frame = std::make_unique<Frame>(std::uint8_t{0});
            for (std::size_t plane = 0; plane < 3; ++plane)
                std::fill_n(frame->bytes.begin() + static_cast<std::ptrdiff_t>(plane * kArea), rows * kWidth, 250);
            frame->Temporal();
            return frame;
        };
        const auto first = frameOf(one.firstRows);
        const auto then = frameOf(one.thenRows);
        ASSERT_TRUE(Infers(helper, *first));
        ASSERT_TRUE(Infers(helper, *then)) << "the edge has gone elsewhere";

        // A refresh takes the frame for the reference: the same picture is then skipped.
        EXPECT_EQ(Infers(helper, *then), !one.refreshes);
    }
}

}  // namespace
}  // namespace inference_tests
