#include <zant/velmora_host/reports/check.hpp>

#include <zant/velmora_host/base/json_document.hpp>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace zant::velmora_host {
namespace {

TEST(CheckReport, WithoutFindingsSaysSo) {
  EXPECT_EQ(to_text(Check_Report{}), "Nothing found that needs to be put right.\n");
  EXPECT_EQ(json_document::Json::parse(to_json_text(Check_Report{})).at("findings"),
            json_document::Json::array());
}

TEST(CheckReport, HasForEachFindingWhatIsRight) {
  const Check_Report report = {
      {{"apt-daily.timer", "is masked", "unmask it", "units.masked"}},
      {{"schedule", "the schedule", "systemd-analyze is not installed on this host"}}};

  EXPECT_EQ(to_text(report),
            "apt-daily.timer: is masked\n    Remedy: unmask it\n    [units.masked]\n"
            "Not checked: the schedule, because systemd-analyze is not installed on this host.\n"
            "1 finding.\n");
  EXPECT_EQ(json_document::Json::parse(to_json_text(report)).at("findings")[0],
            json_document::Json({{"code", "units.masked"},
                                 {"where", "apt-daily.timer"},
                                 {"message", "is masked"},
                                 {"remedy", "unmask it"}}));
  EXPECT_EQ(json_document::Json::parse(to_json_text(report)).at("unchecked")[0].at("code"), "schedule");
}

TEST(CheckReport, ShowsNothingOfOthersThatATerminalObeys) {
  const Check_Report report = {
      {{"/srv/a\x1b[2J\nb", "holds \u202egnp", "remove \xff\u009b", "staging.foreign_file"}},
      {{"schedule", "the calendar\n", "systemd\x07"}}};

  EXPECT_EQ(
      to_text(report),
      "/srv/a\\x1b[2J\\nb: holds \\u202egnp\n    Remedy: remove \\xff\\u009b\n    [staging.foreign_file]\n"
      "Not checked: the calendar\\n, because systemd\\x07.\n"
      "1 finding.\n");
  const std::string json = to_json_text(report);
  EXPECT_EQ(json.find_first_of("\x1b\x07\x7f"), std::string::npos);
  EXPECT_EQ(json.find("\u202e"), std::string::npos);
  EXPECT_EQ(json_document::Json::parse(json).at("findings")[0].at("message"), "holds \u202egnp");
}

}  // namespace
}  // namespace zant::velmora_host
