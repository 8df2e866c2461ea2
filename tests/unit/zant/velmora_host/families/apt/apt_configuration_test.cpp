#include <zant/velmora_host/families/apt/apt_configuration.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace zant::velmora_host {
namespace {

using ::testing::ElementsAre;

std::vector<std::string> items_of(const std::string& text) {
  std::vector<std::string> items;
  for (const auto& item : parse_apt_configuration(text)) {
    items.push_back(item.name + "=" + item.value);
  }
  return items;
}

TEST(AptConfiguration, IsReadInAllItsForms) {
  EXPECT_THAT(
      items_of("// a comment; \"x\";\n"
               "# another { \n"
               "#clear APT::X;\n"
               "/* A::B \"c\"; */\n"
               "APT::Periodic::Enable \"1\";\n"
               "Acquire { http { Dl-Limit \"5\"; Proxy \"http://p:1/\"; }; Retries 3; };\n"
               "Unattended-Upgrade::Package-Blacklist { \"a b\"; // why\n \"c{;}\" ; }\n"
               "DPkg::Options:: \"--force\";\n"),
      ElementsAre("APT::Periodic::Enable=1", "Acquire::http::Dl-Limit=5", "Acquire::http::Proxy=http://p:1/",
                  "Acquire::Retries=3", "Unattended-Upgrade::Package-Blacklist::=a b",
                  "Unattended-Upgrade::Package-Blacklist::=c{;}", "DPkg::Options::=--force"));
}

TEST(AptConfiguration, ThatIsBrokenIsReadAsFarAsItGoes) {
  EXPECT_THAT(items_of("A::B \"1\"; }}} ; {{ ; \"x\" ; C \"unfinished"), ElementsAre("A::B=1"));
  EXPECT_THAT(items_of("/* no end"), ElementsAre());
  EXPECT_THAT(items_of(std::string(100000, '{')), ElementsAre());
}

TEST(AptConfiguration, KnowsYesAndNoAsAptDoes) {
  for (const char* yes : {"1", "2", "true", "Yes", "on", "with", "enable"}) {
    EXPECT_TRUE(is_apt_yes(yes)) << yes;
    EXPECT_FALSE(is_apt_no(yes)) << yes;
  }
  for (const char* no : {"0", "false", "No", "off", "without", "disable"}) {
    EXPECT_TRUE(is_apt_no(no)) << no;
    EXPECT_FALSE(is_apt_yes(no)) << no;
  }
  EXPECT_FALSE(is_apt_yes("") || is_apt_no("") || is_apt_yes("000") || is_apt_yes("maybe"));
}

}  // namespace
}  // namespace zant::velmora_host
