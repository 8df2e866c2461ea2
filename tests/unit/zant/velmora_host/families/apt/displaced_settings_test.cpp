#include <zant/velmora_host/families/apt/displaced_settings.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace zant::velmora_host {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* OURS =
    "Unattended-Upgrade::Origins-Pattern {\n"
    "  \"origin=Debian,codename=${distro_codename},label=Debian\";\n"
    "  \"origin=Debian,codename=${distro_codename}-security,label=Debian-Security\";\n"
    "  \"origin=Ubuntu,archive=${distro_codename}\";\n"
    "  \"origin=Ubuntu,archive=${distro_codename}-security\";\n"
    "  \"o=Quorvane Velmora Core VMS Repo\";\n"
    "};\n";

std::vector<std::string> displaced(const std::string& before, const std::string& after = OURS,
                                   const std::string& later = "",
                                   const std::string& distribution = "Debian") {
  std::vector<std::string> messages;
  for (const auto& [setting, message] : find_displaced_apt_settings(before, after, {later}, distribution)) {
    messages.push_back(message);
  }
  return messages;
}

TEST(DisplacedSettings, AreNoneOfTheDistributionsOwnFile) {
  EXPECT_THAT(displaced("Unattended-Upgrade::Origins-Pattern {\n"
                        "// \"codename=${distro_codename}-updates\";\n"
                        "\"origin=Debian,codename=${distro_codename},label=Debian\";\n"
                        "\"l=Debian-Security,n=${distro_codename}-security,o=Debian\"; };\n"
                        "Unattended-Upgrade::Package-Blacklist { // nothing\n };\n"),
              IsEmpty());
  EXPECT_THAT(displaced("Unattended-Upgrade::Allowed-Origins { \"${distro_id}:${distro_codename}\";\n"
                        "\"${distro_id}:${distro_codename}-security\"; };\n",
                        OURS, "", "Ubuntu"),
              IsEmpty());
}

TEST(DisplacedSettings, NameABlacklistAndSingleValues) {
  EXPECT_THAT(displaced("Unattended-Upgrade::Origins-Pattern {\n"
                        "\"origin=Debian,codename=${distro_codename},label=Debian\";\n"
                        "\"origin=Debian,codename=${distro_codename}-security,label=Debian-Security\";\n"
                        "\"site=other.test\"; };\n"
                        "Unattended-Upgrade::Package-Blacklist { \"nginx\"; };\n"
                        "Unattended-Upgrade::Automatic-Reboot \"false\";\n"
                        "Unattended-Upgrade::Mail \"root\";\n"),
              ElementsAre("Unattended-Upgrade::Origins-Pattern \"site=other.test\" goes out of force",
                          "Unattended-Upgrade::Package-Blacklist \"nginx\" goes out of force",
                          "Unattended-Upgrade::Automatic-Reboot \"false\" goes out of force",
                          "Unattended-Upgrade::Mail \"root\" goes out of force"));
}

TEST(DisplacedSettings, NameOriginsThatAreUpgradedFromInTheirPlace) {
  EXPECT_THAT(
      displaced("Unattended-Upgrade::Origins-Pattern {\n"
                "\"origin=Debian,codename=${distro_codename}-security,label=Debian-Security\"; };\n"),
      ElementsAre("Unattended-Upgrade::Origins-Pattern gets "
                  "\"origin=Debian,codename=${distro_codename},label=Debian\", from which nothing was "
                  "upgraded unattended before"));
}

TEST(DisplacedSettings, AreInForceStillWhenALaterFileRepeatsThem) {
  EXPECT_THAT(displaced("Acquire::http::Proxy \"p\"; Acquire::Retries \"2\";", "",
                        "acquire::http::proxy \"p\"; Acquire::Retries \"3\";"),
              ElementsAre("Acquire::Retries \"2\" goes out of force"));
}

TEST(DisplacedSettings, NameAValueThatBecomesAnother) {
  const char* const ours = "APT::Periodic::Enable \"1\"; APT::Periodic::Unattended-Upgrade \"always\";";

  EXPECT_THAT(displaced("APT::Periodic::Unattended-Upgrade \"0\";", ours),
              ElementsAre("APT::Periodic::Unattended-Upgrade \"0\" becomes \"always\""));
  EXPECT_THAT(displaced("APT::Periodic::Unattended-Upgrade \"1\";", ours), IsEmpty())
      << "once a day, as its timer runs";
}

}  // namespace
}  // namespace zant::velmora_host
