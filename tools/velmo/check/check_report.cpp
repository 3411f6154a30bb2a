#include "velmo_tool/check/check_report.h"

#include <algorithm>
#include <cstddef>
#include <nlohmann/json.hpp>

namespace velmo_tool {
namespace {

bool IsRequiredAndFails(const CheckPoint& point) {
    return point.need == Need::Required && point.verdict == Verdict::Fails;
}

const char* Word(const CheckPoint& point) {
    if (point.verdict == Verdict::Holds) return "ok";
    return point.need == Need::Required ? "FAILS" : "lacks";
}

}  // namespace

bool CheckReport::Good() const {
    return !points.empty() && std::none_of(points.begin(), points.end(), IsRequiredAndFails);
}

void PrintTable(const CheckReport& report, std::ostream& out) {
    out << report.libraryPath << "\n";
    std::size_t width = 0;
    for (const CheckPoint& point : report.points)
        width = std::max(width, point.name.size());
    for (const CheckPoint& point : report.points) {
        const std::string word = Word(point);
        out << "  " << word << std::string(7 - word.size(), ' ') << point.name;
        if (!point.detail.empty()) out << std::string(width - point.name.size() + 2, ' ') << point.detail;
        out << "\n";
    }
    const auto failures = std::count_if(report.points.begin(), report.points.end(), IsRequiredAndFails);
    if (report.Good()) {
        out << "all required points hold\n";
    } else {
        out << failures << " of " << report.points.size() << " points fail that the process needs\n";
    }
}

void PrintJson(const CheckReport& report, std::ostream& out) {
    nlohmann::ordered_json json;
    json["library"] = report.libraryPath;
    if (!report.modelPath.empty()) json["model"] = report.modelPath;
    json["good"] = report.Good();
    json["points"] = nlohmann::ordered_json::array();
    for (const CheckPoint& point : report.points) {
        json["points"].push_back({{"name", point.name},
                                  {"required", point.need == Need::Required},
                                  {"holds", point.verdict == Verdict::Holds},
                                  {"detail", point.detail}});
    }
    out << json.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) << "\n";
}

}  // namespace velmo_tool
