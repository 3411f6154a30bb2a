#include "script.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace hvq_double {
namespace {

struct BadLine {};  // thrown at what can't be understood

// Words stand between blanks; one in double quotes may hold any char, with \" \\ and \n. A word that begins with # ends
// the line.
std::vector<std::string> SplitWords(std::string_view line) {
    std::vector<std::string> words;
    std::size_t at = 0;
    while (at < line.size()) {
        if (line[at] == ' ' || line[at] == '\t' || line[at] == '\r') {
            ++at;
            continue;
        }
        if (line[at] == '#') break;
        std::string word;
        if (line[at] != '"') {
            while (at < line.size() && line[at] != ' ' && line[at] != '\t' && line[at] != '\r')
                word += line[at++];
        } else {
            for (++at; at < line.size() && line[at] != '"'; ++at) {
                if (line[at] != '\\') {
                    word += line[at];
                    continue;
                }
                if (++at == line.size()) throw BadLine();
                word += line[at] == 'n' ? '\n' : line[at];
            }
            if (at == line.size()) throw BadLine();
            ++at;
        }
        words.push_back(std::move(word));
    }
    return words;
}

// The words of a line, taken one by one.
class Words {
 public:
    explicit Words(std::vector<std::string> words) : m_words(std::move(words)) {}

    bool HasMore() const { return m_next < m_words.size(); }

    std::string Text() {
        if (!HasMore()) throw BadLine();
        return m_words[m_next++];
    }

    std::int64_t Number() { return ToNumber(Text()); }

    std::uint64_t Size() {
        const std::int64_t number = Number();
        if (number < 0) throw BadLine();
        return static_cast<std::uint64_t>(number);
    }

    double Real() {
        const std::string text = Text();
        char* end = nullptr;
        const double value = std::strtod(text.c_str(), &end);
        if (text.empty() || *end != '\0') throw BadLine();
        return value;
    }

    std::vector<std::string> Rest() {
        std::vector<std::string> rest;
        while (HasMore())
            rest.push_back(Text());
        return rest;
    }

    void ExpectEnd() const {
        if (HasMore()) throw BadLine();
    }

    static std::int64_t ToNumber(const std::string& text) {
        char* end = nullptr;
        const long long value = std::strtoll(text.c_str(), &end, 10);
        if (text.empty() || *end != '\0') throw BadLine();
        return value;
    }

 private:
    std::vector<std::string> m_words;
    std::size_t m_next = 0;
};

std::size_t FunctionIndex(const std::string& name) {
    for (std::size_t index = 0; index < kFunctionCount; ++index) {
        if (name == kFunctionNames[index]) return index;
    }
    throw BadLine();
}

// "3" the third call, "3+" that and all later ones, "%3" each third, "*" all; "next" and "next+" reckon from now.
Which ParseWhich(std::string text, std::uint64_t callsSoFar) {
    if (text == "*") return {1, 1};
    if (text.starts_with("%")) {
        const std::int64_t every = Words::ToNumber(text.substr(1));
        if (every < 1) throw BadLine();
        return {static_cast<std::uint64_t>(every), static_cast<std::uint64_t>(every)};
    }
    Which which{0, 0};
    if (text.ends_with("+")) {
        which.every = 1;
        text.pop_back();
    }
    if (text == "next") {
        which.first = callsSoFar + 1;
        return which;
    }
    const std::int64_t first = Words::ToNumber(text);
    if (first < 1) throw BadLine();
    which.first = static_cast<std::uint64_t>(first);
    return which;
}

Fill ParseFill(Words& words) {
    static const std::map<std::string, FillKind> kKinds = {
        {"values", FillKind::Values}, {"constant", FillKind::Constant}, {"ramp", FillKind::Ramp},
        {"random", FillKind::Random}, {"noise", FillKind::Noise},       {"inference", FillKind::Inference},
        {"copy", FillKind::Copy}};
    const auto kind = kKinds.find(words.Text());
    if (kind == kKinds.end()) throw BadLine();
    Fill fill;
    fill.kind = kind->second;
    fill.numbers.clear();
    if (fill.kind == FillKind::Copy) fill.source = words.Text();
    while (words.HasMore())
        fill.numbers.push_back(words.Real());
    if (fill.kind == FillKind::Ramp && (fill.numbers.size() < 2 || fill.numbers.size() > 3)) throw BadLine();
    const bool takesOne = fill.kind != FillKind::Ramp && fill.kind != FillKind::Values;
    if (takesOne && fill.numbers.size() != 1) throw BadLine();
    return fill;
}

// Carries out one line after the other.
class Runner {
 public:
    Runner(const CallCounts& counts, Scenario& scenario) : m_counts(counts), m_scenario(scenario) {}

    void Run(Words words) {
        static const std::map<std::string, void (Runner::*)(Words&)> kCommands = {
            {"version", &Runner::Version},  {"engines", &Runner::Engines},
            {"devices", &Runner::Devices},  {"models", &Runner::Models},
            {"layer", &Runner::Layer},      {"properties", &Runner::Properties},
            {"no-layer", &Runner::NoLayer}, {"no-data", &Runner::NoData},
            {"fill", &Runner::FillLayer},   {"current-device", &Runner::Device},
            {"fail", &Runner::Fail},        {"null", &Runner::Null},
            {"answer", &Runner::Answer},    {"delay", &Runner::Delay},
            {"gate", &Runner::Gate},        {"exit", &Runner::Exit},
            {"forget", &Runner::Forget},    {"quiet", &Runner::Quiet},
            {"record", &Runner::Record}};
        if (!words.HasMore()) return;
        const auto command = kCommands.find(words.Text());
        if (command == kCommands.end()) throw BadLine();
        (this->*command->second)(words);
        words.ExpectEnd();
    }

 private:
    void Version(Words& words) { m_scenario.version = words.Text(); }
    void Device(Words& words) { m_scenario.currentDevice = words.Text(); }
    void Quiet(Words& /*words*/) { m_scenario.isQuiet = true; }
    void Record(Words& words) { m_scenario.record = words.Text(); }

    // Engines that were there keep what they offer.
    void Engines(Words& words) {
        std::vector<EngineOffer> engines;
        for (const std::string& name : words.Rest()) {
            const EngineOffer* const before = m_scenario.FindEngine(name);
            engines.push_back(before != nullptr ? *before : EngineOffer{name, {}, {}, {}});
        }
        m_scenario.engines = std::move(engines);
    }

    void Devices(Words& words) {
        EngineOffer& engine = Engine(words);
        engine.devices = words.Rest();
    }

    void Models(Words& words) {
        EngineOffer& engine = Engine(words);
        engine.models = words.Rest();
    }

    void Properties(Words& words) {
        EngineOffer& engine = Engine(words);
        engine.properties.clear();
        while (words.HasMore()) {
            const std::string name = words.Text();
            engine.properties.push_back({name, words.Text()});
        }
    }

    void Layer(Words& words) {
        const std::string direction = words.Text();
        if (direction != "input" && direction != "output") throw BadLine();
        LayerOffer layer;
        layer.name = words.Text();
        layer.isInput = direction == "input";
        while (words.HasMore())
            layer.dims.push_back(words.Size());
        LayerOffer* const before = m_scenario.FindLayer(layer.name);
        if (before == nullptr) {
            m_scenario.layers.push_back(std::move(layer));
            return;
        }
        if (before->isInput == layer.isInput) layer.fills = before->fills;
        *before = std::move(layer);
    }

    void NoLayer(Words& words) {
        const LayerOffer& layer = KnownLayer(words);
        m_scenario.layers.erase(m_scenario.layers.begin() + (&layer - m_scenario.layers.data()));
    }

    void NoData(Words& words) { KnownLayer(words).hasData = false; }

    void FillLayer(Words& words) {
        LayerOffer& layer = KnownLayer(words);
        std::uint64_t first = 1;
        std::vector<std::string> rest = words.Rest();
        if (rest.size() >= 2 && rest[0] == "from") {
            first = static_cast<std::uint64_t>(std::max<std::int64_t>(Words::ToNumber(rest[1]), 1));
            rest.erase(rest.begin(), rest.begin() + 2);
        }
        Words fillWords(std::move(rest));
        Fill fill = ParseFill(fillWords);
        fill.firstInference = first;
        // What held from there on holds no more.
        std::erase_if(layer.fills, [&](const Fill& other) { return other.firstInference >= first; });
        layer.fills.push_back(std::move(fill));
    }

    void Fail(Words& words) {
        Rule& rule = AddRule(Effect::Fail, words);
        rule.text = words.Text();
    }

    void Null(Words& words) { AddRule(Effect::Null, words); }

    void Answer(Words& words) {
        Rule& rule = AddRule(Effect::Answer, words);
        do {
            const std::string word = words.Text();
            const bool isWritten = word != "unwritten";
            rule.answers.push_back(isWritten ? std::optional(Words::ToNumber(word)) : std::nullopt);
        } while (words.HasMore());
    }

    void Exit(Words& words) {
        Rule& rule = AddRule(Effect::Exit, words);
        rule.number = words.Number();
    }

    void Delay(Words& words) {
        Rule& rule = AddRule(Effect::Delay, words);
        rule.number = words.Number();
    }

    void Gate(Words& words) {
        Rule& rule = AddRule(Effect::Gate, words);
        rule.text = words.Text();
    }

    void Forget(Words& words) { m_scenario.rules[FunctionIndex(words.Text())].clear(); }

    EngineOffer& Engine(Words& words) {
        EngineOffer* const engine = m_scenario.FindEngine(words.Text());
        if (engine == nullptr) throw BadLine();
        return *engine;
    }

    LayerOffer& KnownLayer(Words& words) {
        LayerOffer* const layer = m_scenario.FindLayer(words.Text());
        if (layer == nullptr) throw BadLine();
        return *layer;
    }

    Rule& AddRule(Effect effect, Words& words) {
        const std::size_t function = FunctionIndex(words.Text());
        Rule rule;
        rule.effect = effect;
        rule.which = ParseWhich(words.Text(), m_counts[function]);
        m_scenario.rules[function].push_back(std::move(rule));
        return m_scenario.rules[function].back();
    }

    const CallCounts& m_counts;
    Scenario& m_scenario;
};

}  // namespace

std::int32_t RunScript(std::string_view text, const CallCounts& counts, Scenario& scenario) {
    Runner runner(counts, scenario);
    std::int32_t lineNumber = 0;
    while (!text.empty()) {
        ++lineNumber;
        const std::size_t end = std::min(text.find('\n'), text.size());
        const Scenario before = scenario;
        try {
            runner.Run(Words(SplitWords(text.substr(0, end))));
        } catch (const BadLine&) {
            scenario = before;  // a line holds whole or not at all
            return lineNumber;
        }
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return 0;
}

}  // namespace hvq_double
