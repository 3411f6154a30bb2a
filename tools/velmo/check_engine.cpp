#include "velmo_tool/check_engine.h"

#include <stdexcept>

#include "velmo_tool/check/check_report.h"
#include "velmo_tool/check/library_checks.h"
#include "velmo_tool/check/watched_check.h"

namespace velmo_tool {
namespace {

constexpr int kNothingChecked = 1;
constexpr int kPointFails = 2;

class Collector final : public CheckListener {
 public:
    explicit Collector(CheckReport& report) : m_report(report) {}

    void OnBegin(const std::string& /*name*/, Need /*need*/) override {}
    void OnPoint(const CheckPoint& point) override { m_report.points.push_back(point); }

 private:
    CheckReport& m_report;
};

CheckReport CheckHere(const CheckRequest& request) {
    CheckReport report{request.libraryPath, request.modelPath, {}};
    Collector collector(report);
    CheckLibrary(request, collector);
    return report;
}

}  // namespace

int CheckEngine(const CheckEngineOptions& options, platform::ChildProcesses& children, std::ostream& out,
                std::ostream& errors) {
    CheckReport report;
    try {
        std::string output;
        report = options.place == CheckPlace::ThisProcess
                     ? CheckHere(options.request)
                     : CheckInChild(options.request, options.timeoutMs, options.program, children, output);
        errors << output;
    } catch (const std::runtime_error& error) {
        errors << "velmo: " << error.what() << "\n";
        return kNothingChecked;
    }
    if (options.form == ReportForm::Json) {
        PrintJson(report, out);
    } else {
        PrintTable(report, out);
    }
    return report.Good() ? 0 : kPointFails;
}

}  // namespace velmo_tool
