#include <program/command_line.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace zant::program {
namespace {

using ::testing::HasSubstr;

class ReportUsage : public ::testing::Test {
 protected:
  Parsed_Command_Line parse(std::vector<const char*> arguments) {
    arguments.insert(arguments.begin(), "package-minder");
    return parse_command_line(static_cast<int>(arguments.size()), arguments.data(), out_, err_);
  }

  std::ostringstream out_;
  std::ostringstream err_;
};

TEST_F(ReportUsage, ReadsTheReports) {
  EXPECT_EQ(parse({"status"}).command_line.value().command->name, "status");
  EXPECT_EQ(parse({"plan"}).command_line.value().command->name, "plan");
  EXPECT_EQ(parse({"check"}).command_line.value().command->name, "check");
  EXPECT_FALSE(parse({"status"}).command_line.value().invocation.json);
  EXPECT_TRUE(parse({"status", "--json"}).command_line.value().invocation.json);
}

TEST_F(ReportUsage, ReadsHowTheVerdictIsAskedFor) {
  EXPECT_EQ(parse({"why"}).command_line.value().command->name, "why");
  EXPECT_FALSE(parse({"why"}).command_line.value().invocation.online);
  EXPECT_TRUE(parse({"why", "--online"}).command_line.value().invocation.online);
  EXPECT_TRUE(parse({"check", "--online"}).command_line.value().invocation.online);
  EXPECT_TRUE(parse({"status", "--monitoring"}).command_line.value().invocation.monitoring);
}

TEST_F(ReportUsage, PrintsForAPluginOrForAProgram) {
  EXPECT_EQ(parse({"status", "--monitoring", "--json"}).exit_status, 64);
  EXPECT_EQ(parse({"status", "--online"}).exit_status, 64);
  EXPECT_EQ(parse({"why", "--monitoring"}).exit_status, 64);
}

TEST_F(ReportUsage, ReadsThePlanOfAPurge) {
  const auto line = parse({"purge", "--plan", "--upgrades-only", "--json"}).command_line.value();

  EXPECT_EQ(line.command->name, "purge");
  EXPECT_TRUE(line.invocation.plan_only);
  EXPECT_TRUE(line.invocation.upgrades_only);
  EXPECT_TRUE(is_report(line));
  EXPECT_FALSE(is_report(parse({"purge"}).command_line.value()));
}

TEST_F(ReportUsage, RefusesJsonWhereNothingIsReported) {
  EXPECT_EQ(parse({"purge", "--json"}).exit_status, 64);
  EXPECT_THAT(err_.str(), HasSubstr("--plan"));
  EXPECT_EQ(parse({"once", "--json"}).exit_status, 64);
  EXPECT_EQ(parse({"hold", "--plan"}).exit_status, 64);
}

TEST_F(ReportUsage, IsToldWrongInJsonToThoseWhoReadIt) {
  EXPECT_EQ(parse({"status", "--json", "--loudly"}).exit_status, 64);

  const auto document = nlohmann::json::parse(out_.str());
  EXPECT_EQ(document.at("format"), "package-minder/status");
  EXPECT_EQ(document.at("error").at("code"), "wrong_usage");
  EXPECT_EQ(document.at("error").at("exit_status"), 64);
}

TEST_F(ReportUsage, IsToldWrongInPlainTextToEverybodyElse) {
  parse({"status", "--loudly"});

  EXPECT_EQ(out_.str(), "");
  EXPECT_THAT(err_.str(), HasSubstr("--loudly"));
}

}  // namespace
}  // namespace zant::program
