#include "velmo_tool/check/check_report.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>

namespace velmo_tool {
namespace {

CheckPoint Point(const std::string& name, Need need, Verdict verdict, const std::string& detail = "") {
    return {name, need, verdict, detail};
}

CheckReport Mixed() {
    return {"hvq.dll",
            "",
            {Point("loads", Need::Required, Verdict::Holds), Point("tells", Need::Optional, Verdict::Fails, "older"),
             Point("infers", Need::Required, Verdict::Fails, "no \"input\"")}};
}

TEST(CheckReport, IsGoodWhenNoRequiredPointFails) {
    CheckReport report = Mixed();
    EXPECT_FALSE(report.Good());
    report.points.pop_back();
    EXPECT_TRUE(report.Good());
}

TEST(CheckReport, IsNotGoodWithoutAnyPoint) {
    EXPECT_FALSE(CheckReport().Good());
}

TEST(CheckReport, IsATableWithTheVerdictAtItsEnd) {
    std::ostringstream out;
    PrintTable(Mixed(), out);
    EXPECT_EQ(out.str(),
              "hvq.dll\n"
              "  ok     loads\n"
              "  lacks  tells   older\n"
              "  FAILS  infers  no \"input\"\n"
              "1 of 3 points fail that the process needs\n");

    CheckReport good = Mixed();
    good.points.pop_back();
    std::ostringstream again;
    PrintTable(good, again);
    EXPECT_EQ(again.str(), "hvq.dll\n  ok     loads\n  lacks  tells  older\nall required points hold\n");
}

TEST(CheckReport, IsOneJsonObject) {
    std::ostringstream out;
    PrintJson(Mixed(), out);
    const auto json = nlohmann::json::parse(out.str());
    EXPECT_EQ(json.at("library"), "hvq.dll");
    EXPECT_FALSE(json.contains("model"));
    EXPECT_EQ(json.at("good"), false);
    ASSERT_EQ(json.at("points").size(), 3u);
    EXPECT_EQ(json.at("points")[1],
              (nlohmann::json{{"name", "tells"}, {"required", false}, {"holds", false}, {"detail", "older"}}));
    EXPECT_EQ(json.at("points")[2].at("required"), true);
    EXPECT_EQ(json.at("points")[2].at("detail"), "no \"input\"");
}

TEST(CheckReport, NamesTheModelInJsonAndSurvivesBytesThatAreNoUtf8) {
    std::ostringstream out;
    PrintJson({"l", "m.onnx", {Point("x", Need::Required, Verdict::Holds, "\xFF\xFE")}}, out);
    const auto json = nlohmann::json::parse(out.str());
    EXPECT_EQ(json.at("model"), "m.onnx");
    EXPECT_EQ(json.at("good"), true);
}

}  // namespace
}  // namespace velmo_tool
