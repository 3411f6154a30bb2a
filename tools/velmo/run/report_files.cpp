#include "velmo_run/report_files.h"

#include <cstdint>
#include <exception>
#include <functional>
#include <string>
#include <vector>

#include "velmo_media/png_codec.h"
#include "velmo_report/html_report.h"
#include "velmo_report/report_json.h"
#include "velmo_report/sheet_picture.h"
#include "velmo_run/open_media.h"

namespace velmo_run {
namespace {

void TellWritten(const std::string& file, const char* what, std::ostream& talk) {
    if (!file.empty() && file != "-") talk << "written     " << file << " (" << what << ")" << std::endl;
}

// False when that fails, which is told.
bool WriteFile(const RunOptions& options, const std::string& file, const char* what,
               const std::function<std::string()>& text, std::ostream& talk) {
    if (file.empty()) return true;
    try {
        WriteTextFile(file, text(), MayOverwrite(options));
    } catch (const std::exception& error) {
        talk << "velmo: " << error.what() << std::endl;
        return false;
    }
    TellWritten(file, what, talk);
    return true;
}

}  // namespace

bool WriteReportFiles(const RunOptions& options, const velmo_report::RunReport& report, std::ostream& talk) {
    TellWritten(options.output, "composite", talk);
    TellWritten(options.masks, "masks", talk);
    TellWritten(options.csv, "row per frame", talk);
    const auto sheet = [&report] {
        std::vector<std::uint8_t> png;
        velmo_media::EncodePng(velmo_report::SheetPicture(report.sheet), png);
        return std::string(png.begin(), png.end());
    };
    const auto page = [&report] { return velmo_report::HtmlReport(report); };
    const auto numbers = [&report] { return velmo_report::JsonText(report); };
    // Each is tried, whatever became of the one before.
    bool isGood = WriteFile(options, options.report, "report", page, talk);
    isGood = WriteFile(options, options.json, "numbers of the report", numbers, talk) && isGood;
    if (!report.sheet.empty()) isGood = WriteFile(options, options.sheet, "contact sheet", sheet, talk) && isGood;
    return isGood;
}

}  // namespace velmo_run
