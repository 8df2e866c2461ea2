#include <zant/velmora_host/families/apt/apt_health.hpp>

#include "outlook_example.hpp"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace zant::velmora_host::apt_outlook {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class AptHealth : public Outlook_Example {
 protected:
  AptHealth() { answers("apt-config dump", 0, "APT \"\";\n"); }

  // Of a host on which "apt-get check" says this.
  APT_Health told(const std::string& words) {
    answers("apt-get -c '/private/conf' check -qq", 100, words);
    return find_apt_health(question, "/private/conf");
  }
};

TEST_F(AptHealth, IsGoodWhenAptCanRead) {
  answers("apt-get -c '/private/conf' check -qq", 0);

  const auto health = find_apt_health(question, "/private/conf");

  EXPECT_TRUE(health.can_work);
  EXPECT_EQ(health.dump, "APT \"\";\n");
  EXPECT_THAT(health.causes, IsEmpty());
}

TEST_F(AptHealth, NamesTheFileThatAptCannotRead) {
  const auto health = told(
      "E: Malformed line 1 in source list /etc/apt/sources.list.d/broken.list (type)\n"
      "E: The list of sources could not be read.\n");

  EXPECT_FALSE(health.can_work);
  ASSERT_THAT(codes(health.causes), ElementsAre("blocks apt.configuration_broken"));
  EXPECT_EQ(health.causes[0].message,
            "APT cannot read /etc/apt/sources.list.d/broken.list, and does nothing until it can");
  EXPECT_EQ(health.causes[0].remedy,
            "mv '/etc/apt/sources.list.d/broken.list' '/etc/apt/sources.list.d/broken.list.disabled'");
}

TEST_F(AptHealth, SurvivesANameWithoutEnd) {
  EXPECT_THAT(codes(told("E: /etc/apt/" + std::string(1000000, 'x')).causes),
              ElementsAre("blocks apt.configuration_broken"));
  EXPECT_THAT(codes(told("E: /etc/apt/\n").causes), ElementsAre("blocks apt.check_failed"));
}

TEST_F(AptHealth, TellsWhatElseStopsApt) {
  EXPECT_THAT(codes(told("E: Unable to parse package file /var/lib/dpkg/status (1)\n").causes),
              ElementsAre("blocks dpkg.status_broken"));
  EXPECT_THAT(
      codes(told("E: The package procps needs to be reinstalled, but I can't find an archive for it.\n")
                .causes),
      ElementsAre("blocks dpkg.half_installed"));
  EXPECT_THAT(codes(told("E: Unmet dependencies. Try 'apt --fix-broken install'\n").causes),
              ElementsAre("blocks dpkg.broken_dependencies"));
  EXPECT_THAT(codes(told("E: The package lists or status file could not be parsed or opened.\n").causes),
              ElementsAre("blocks apt.lists_broken"));
}

TEST_F(AptHealth, TellsALackOfMemoryFromDamagedLists) {
  const auto causes = told(
                          "E: Dynamic MMap ran out of room. Please increase the size of APT::Cache-Start.\n"
                          "E: The package lists or status file could not be parsed or opened.\n")
                          .causes;

  ASSERT_THAT(codes(causes), ElementsAre("blocks apt.check_failed"));
  EXPECT_EQ(causes[0].remedy, "Take APT::Cache-Limit out of APT's configuration, or raise it");
}

TEST_F(AptHealth, GuessesNothingFromOtherWords) {
  const auto causes = told("E: Quelque chose ne va pas\n").causes;

  ASSERT_THAT(codes(causes), ElementsAre("blocks apt.check_failed"));
  EXPECT_EQ(causes[0].evidence, "apt-get check: E: Quelque chose ne va pas");
}

TEST_F(AptHealth, TellsWhichToolDoesNotAnswer) {
  answers("apt-get -c * check -qq", 124, "");

  const auto causes = find_apt_health(question, "/private/conf").causes;

  ASSERT_THAT(codes(causes), ElementsAre("obscures tools.time_limit"));
  EXPECT_EQ(causes[0].evidence, "apt-get check: no words");
}

TEST_F(AptHealth, IsUnknownWithoutTheTool) {
  answers("apt-config dump", 127, "timeout: failed to run command 'apt-config'\n");

  const auto health = find_apt_health(question, "/private/conf");

  EXPECT_FALSE(health.can_work);
  EXPECT_THAT(codes(health.causes), ElementsAre("obscures tools.failed"));
}

}  // namespace
}  // namespace zant::velmora_host::apt_outlook
