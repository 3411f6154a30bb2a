#include "velmo_tool/probe/probe_report.h"

#include <algorithm>
#include <cstddef>
#include <nlohmann/json.hpp>

namespace velmo_tool {
namespace {

std::string ValueText(const ProbeFact& fact) {
    if (const auto* number = std::get_if<std::int64_t>(&fact.value)) return std::to_string(*number);
    if (const auto* flag = std::get_if<bool>(&fact.value)) return *flag ? "yes" : "no";
    const std::string& text = std::get<std::string>(fact.value);
    return text.empty() ? "(empty)" : text;
}

std::string ValueAndUnit(const ProbeFact& fact) {
    return fact.unit.empty() ? ValueText(fact) : ValueText(fact) + " " + fact.unit;
}

// Where the columns end.
struct Widths {
    std::size_t label = 0;
    std::size_t value = 0;
};

Widths WidthsOf(const ProbeReport& report) {
    Widths widths;
    for (const ProbeAnswer& answer : report.answers) {
        for (const ProbeFact& fact : answer.facts) {
            widths.label = std::max(widths.label, fact.label.size());
            // A long text without a meaning pushes nothing aside.
            if (!fact.meaning.empty()) widths.value = std::max(widths.value, ValueAndUnit(fact).size());
        }
    }
    return widths;
}

std::string Padded(const std::string& text, std::size_t width) {
    return text + std::string(width - std::min(width, text.size()) + 2, ' ');
}

void PrintFact(const ProbeFact& fact, const Widths& widths, std::ostream& out) {
    const std::string value = ValueAndUnit(fact);
    out << "  " << Padded(fact.label, widths.label);
    if (fact.meaning.empty()) {
        out << value << "\n";
    } else {
        out << Padded(value, widths.value) << fact.meaning << "\n";
    }
}

nlohmann::ordered_json JsonOf(const ProbeFact& fact) {
    nlohmann::ordered_json json;
    json["label"] = fact.label;
    std::visit([&json](const auto& value) { json["value"] = value; }, fact.value);
    if (!fact.unit.empty()) json["unit"] = fact.unit;
    if (!fact.meaning.empty()) json["meaning"] = fact.meaning;
    return json;
}

}  // namespace

std::string ShownBytes(const std::string& bytes) {
    constexpr char kDigits[] = "0123456789abcdef";
    std::string shown;
    for (const char one : bytes) {
        const auto byte = static_cast<unsigned char>(one);
        if (one == '\\') {
            shown += "\\\\";
        } else if (byte >= 0x20 && byte < 0x7F) {
            shown += one;
        } else {
            shown += {'\\', 'x', kDigits[byte >> 4], kDigits[byte & 0xF]};
        }
    }
    return shown;
}

void PrintTable(const ProbeReport& report, std::ostream& out) {
    const Widths widths = WidthsOf(report);
    for (const ProbeAnswer& answer : report.answers) {
        out << answer.function << "\n";
        if (!answer.error.empty()) out << "  failed: " << answer.error << "\n";
        for (const ProbeFact& fact : answer.facts)
            PrintFact(fact, widths, out);
    }
}

void PrintJson(const ProbeReport& report, std::ostream& out) {
    nlohmann::ordered_json json;
    json["answers"] = nlohmann::ordered_json::array();
    for (const ProbeAnswer& answer : report.answers) {
        nlohmann::ordered_json one;
        one["function"] = answer.function;
        if (!answer.error.empty()) {
            one["error"] = answer.error;
        } else {
            one["facts"] = nlohmann::ordered_json::array();
            for (const ProbeFact& fact : answer.facts)
                one["facts"].push_back(JsonOf(fact));
        }
        json["answers"].push_back(std::move(one));
    }
    out << json.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) << "\n";
}

}  // namespace velmo_tool
