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
  const Check_Report report = {{{"apt-daily.timer", "is masked", "unmask it", "units.masked"}},
                               {{"keyring", "the keys", "gpg is not installed on this host"}}};

  EXPECT_EQ(to_text(report),
            "apt-daily.timer: is masked\n    Remedy: unmask it\n    [units.masked]\n"
            "Not checked: the keys, because gpg is not installed on this host.\n"
            "1 finding.\n");
  EXPECT_EQ(json_document::Json::parse(to_json_text(report)).at("findings")[0],
            json_document::Json({{"code", "units.masked"},
                                 {"where", "apt-daily.timer"},
                                 {"message", "is masked"},
                                 {"remedy", "unmask it"}}));
  EXPECT_EQ(json_document::Json::parse(to_json_text(report)).at("unchecked")[0].at("code"), "keyring");
}

}  // namespace
}  // namespace zant::velmora_host
