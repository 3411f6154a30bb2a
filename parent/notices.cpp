#include "velmo_parent/notices.h"

#include <charconv>
#include <cstddef>
#include <utility>

namespace velmo_parent {
namespace {

// Takes a text apart from its front. Every operation is false when the text goes on in another way; it is in no useful
// state then.
class Cutter {
 public:
    explicit Cutter(std::string_view text) : m_rest(text) {}

    bool Text(std::string_view expected) {
        if (!m_rest.starts_with(expected)) return false;
        m_rest.remove_prefix(expected.size());
        return true;
    }

    template <class Number>
    bool NumberInto(Number& number) {
        const auto [end, error] = std::from_chars(m_rest.data(), m_rest.data() + m_rest.size(), number);
        if (error != std::errc()) return false;
        m_rest.remove_prefix(static_cast<std::size_t>(end - m_rest.data()));
        return true;
    }

    // All up to the next `end`, which goes as well.
    bool UpTo(std::string_view end, std::string& into) { return CutAt(m_rest.find(end), end, into); }
    // All up to the last one.
    bool UpToLast(std::string_view end, std::string& into) { return CutAt(m_rest.rfind(end), end, into); }

    bool Named(std::string_view name, std::int32_t& number) { return Text(name) && NumberInto(number); }
    bool Named(std::string_view name, std::int64_t& number) { return Text(name) && NumberInto(number); }

    bool AtEnd() const { return m_rest.empty(); }
    std::string_view Rest() const { return m_rest; }

 private:
    bool CutAt(std::size_t at, std::string_view end, std::string& into) {
        if (at == std::string_view::npos) return false;
        into = m_rest.substr(0, at);
        m_rest.remove_prefix(at + end.size());
        return true;
    }

    std::string_view m_rest;
};

// "={count=0}" or "={count=N, min=N, max=N, avg=N, p95=N}".
bool TakePhase(Cutter& text, PhaseSummary& phase) {
    if (!text.Named("={count=", phase.count)) return false;
    if (text.Text("}")) return phase.count == 0;
    return text.Named(", min=", phase.min) && text.Named(", max=", phase.max) && text.Named(", avg=", phase.average) &&
           text.Named(", p95=", phase.percentile95) && text.Text("}");
}

std::optional<Notice> RoundsOf(Cutter text) {
    RoundsSummary summary;
    const bool isWhole = text.Named("rounds=", summary.rounds) && text.Named(", skip=", summary.skipped) &&
                         text.Named(", infer_utilization_pct=", summary.inferredPercent) &&
                         text.Text(", preprocess_ms") && TakePhase(text, summary.preprocess) &&
                         text.Text(", infer_ms") && TakePhase(text, summary.infer) && text.Text(", postprocess_ms") &&
                         TakePhase(text, summary.postprocess) && text.AtEnd();
    if (!isWhole) return std::nullopt;
    return summary;
}

std::optional<Notice> ContentChangeOf(Cutter text) {
    ContentChangeSummary summary;
    PhaseSummary& permille = summary.permille;
    const bool isWhole = text.Named("rounds=", permille.count) && text.Named(", min=", permille.min) &&
                         text.Named(", max=", permille.max) && text.Named(", avg=", permille.average) &&
                         text.Named(", p95=", permille.percentile95) && text.AtEnd();
    if (!isWhole) return std::nullopt;
    return summary;
}

std::optional<Notice> InferNotice(Cutter text) {
    if (text.Text("runtime_metrics: ")) return RoundsOf(text);
    if (text.Text("content_change_permille: ")) return ContentChangeOf(text);
    if (text.Text("failed, error=")) return FrameFailed{std::string(text.Rest())};
    for (const std::string_view reason :
         {"input args invalid", "invalid args", "has not init.", "hvq engine has not init."}) {
        if (text.Rest().starts_with(reason)) return FrameFailed{std::string(text.Rest())};
    }
    return std::nullopt;
}

// ", deviceType=N, modelQuality=N, modelType=N".
bool TakeChoice(Cutter& text, EngineChoice& choice) {
    return text.Named(", deviceType=", choice.device) && text.Named(", modelQuality=", choice.quality) &&
           text.Named(", modelType=", choice.family);
}

std::optional<Notice> SwappedOf(Cutter text) {
    EngineSwapped swapped;
    const bool isWhole =
        TakeChoice(text, swapped.from) && text.Text(" [to]") && TakeChoice(text, swapped.to) && text.AtEnd();
    if (!isWhole) return std::nullopt;
    return swapped;
}

BringUpFailed Failed(std::string reason) {
    return {BringUpPlace::Unknown, std::move(reason)};
}

std::optional<Notice> BeganOf(Cutter text) {
    BringUpBegan began;
    const bool isWhole =
        text.UpTo(", modelQuality=", began.device) && text.NumberInto(began.quality) && text.Text(", enginePath=");
    if (!isWhole) return std::nullopt;
    return began;
}

std::optional<Notice> ReadyOf(Cutter text) {
    BringUpReady ready;
    // Names hold what the library says, so the last key is the one that counts.
    const bool isWhole = text.UpTo(", networkId=", ready.engine) && text.UpTo(", deviceType=", ready.networkId) &&
                         text.UpToLast(", duration=", ready.device) && text.NumberInto(ready.durationMs) &&
                         text.AtEnd();
    if (!isWhole) return std::nullopt;
    return ready;
}

std::optional<Notice> MissingDeviceOf(Cutter text) {
    std::string device;
    Cutter fallback = text;
    if (fallback.UpToLast(", fallback to ", device)) {
        return DeviceFellBack{std::move(device), std::string(fallback.Rest())};
    }
    return Failed("not support device " + std::string(text.Rest()));
}

std::optional<Notice> BringUpNotice(Cutter text) {
    if (text.Text("deviceType=")) return BeganOf(text);
    if (text.Text("create engine success, m_engineName=")) return ReadyOf(text);
    if (text.Text("not support device, deviceType=")) return MissingDeviceOf(text);
    if (text.Text("not support engine, m_engineName=")) {
        return Failed("not support engine " + std::string(text.Rest()));
    }
    if (text.Rest() == "hvq lib not exists") return Failed(std::string(text.Rest()));
    if (text.Text("failed, error=")) {
        std::string reason;
        if (!text.UpToLast(", m_engineName=", reason)) return Failed(std::string(text.Rest()));
        return Failed(std::move(reason));
    }
    return std::nullopt;
}

}  // namespace

std::optional<Notice> ParseNotice(std::string_view text) {
    // " [this=0x...]" ends every line that was not cut.
    const std::size_t end = text.rfind(" [this=");
    const bool isCut = end == std::string_view::npos || !text.ends_with(']');
    Cutter line(isCut ? text : text.substr(0, end));
    if (!line.Text("[RVO_CALYR]")) return std::nullopt;
    // Why something failed is worth having without its end too.
    if (line.Text("RvoHvqHelper::InitHvq(), ")) {
        if (isCut && !line.Rest().starts_with("failed, error=") && !line.Rest().starts_with("deviceType=")) {
            return std::nullopt;
        }
        return BringUpNotice(line);
    }
    if (line.Text("RvoHvqHelper::Infer(), ")) {
        if (isCut && !line.Rest().starts_with("failed, error=")) return std::nullopt;
        return InferNotice(line);
    }
    if (isCut) return std::nullopt;
    if (line.Text("RvoHvqHelper::SwitchEngine(), [from]")) return SwappedOf(line);
    if (line.Rest() == "RvoCalyrMlHost::OnTimer() heart beat timeout, will terminate process") {
        return HeartBeatsTimedOut{};
    }
    return std::nullopt;
}

}  // namespace velmo_parent
