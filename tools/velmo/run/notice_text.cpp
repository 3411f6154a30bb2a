#include "velmo_run/notice_text.h"

#include <array>
#include <variant>

namespace velmo_run {
namespace {

using namespace velmo_parent;

const char* PlaceText(BringUpPlace place) {
    return place == BringUpPlace::Background ? " beside the frames" : "";
}

std::string ChoiceText(const EngineChoice& choice) {
    return std::string(DeviceName(choice.device)) + " (" + (choice.quality == 0 ? "256 x 144" : "640 x 360") + ")";
}

std::string PhaseText(const PhaseSummary& phase) {
    return std::to_string(phase.average) + " ms on average, " + std::to_string(phase.percentile95) + " ms at p95";
}

struct Words {
    std::string operator()(const BringUpBegan& began) const {
        return "bringing up an engine on " + began.device + PlaceText(began.place);
    }
    std::string operator()(const DeviceFellBack& fell) const {
        return "no device " + fell.missing + " here: " + fell.taken + " is taken instead";
    }
    std::string operator()(const BringUpReady& ready) const {
        return "the engine " + ready.engine + " is ready on " + ready.device + PlaceText(ready.place) + ", after " +
               std::to_string(ready.durationMs) + " ms";
    }
    std::string operator()(const BringUpFailed& failed) const {
        return std::string("no engine") + PlaceText(failed.place) + ": " + failed.reason;
    }
    std::string operator()(const EngineSwapped& swapped) const {
        return "engine swapped: what was asked for as " + ChoiceText(swapped.from) + " gives way to " +
               ChoiceText(swapped.to);
    }
    std::string operator()(const FrameFailed& failed) const { return "a frame failed: " + failed.reason; }
    std::string operator()(const RoundsSummary& rounds) const {
        return std::to_string(rounds.rounds) + " rounds, " + std::to_string(rounds.skipped) + " skipped; inference " +
               PhaseText(rounds.infer);
    }
    std::string operator()(const ContentChangeSummary& change) const {
        return "content change of " + std::to_string(change.permille.count) +
               " frames: " + std::to_string(change.permille.average) + " in a thousand edge pixels on average";
    }
    std::string operator()(const HeartBeatsTimedOut&) const {
        return "six heartbeats went unanswered: the process ends itself";
    }
};

}  // namespace

std::string TextOf(const Notice& notice) {
    return std::visit(Words{}, notice);
}

const char* DeviceName(int device) {
    constexpr std::array kNames = {"AUTO", "CPU", "GPU", "NPU"};
    return device >= 0 && static_cast<std::size_t>(device) < kNames.size() ? kNames[static_cast<std::size_t>(device)]
                                                                           : "?";
}

}  // namespace velmo_run
