// What a run's report says of its settings.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "velmo_run/report_of_run.h"
#include "velmo_tool/path_text.h"

namespace run_tests {
namespace {

std::string SettingOf(const velmo_run::RunOptions& options, const std::string& name) {
    for (const velmo_report::Setting& setting : velmo_run::SettingsOf(options)) {
        if (setting.name == name) return setting.value;
    }
    return "(none)";
}

TEST(RunSettings, TellTheFoldersThatTheProcessTakesInUtf8) {
    velmo_run::RunOptions options;
    // In the code pages of the west these end with an accented letter; they are no UTF-8.
    options.modelFolder = "mod\xE8";
    options.cacheFolder = "cach\xE9";
    for (const auto& [name, bytes] :
         {std::pair{"model folder", options.modelFolder}, std::pair{"cache folder", options.cacheFolder}}) {
        EXPECT_EQ(SettingOf(options, name), velmo_tool::Utf8FromArgument(bytes));
        EXPECT_NE(SettingOf(options, name), bytes);
    }
    EXPECT_EQ(SettingOf({}, "cache folder"), "(none)");
}

}  // namespace
}  // namespace run_tests
