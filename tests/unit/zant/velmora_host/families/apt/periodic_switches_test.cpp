#include <zant/velmora_host/families/apt/periodic_switches.hpp>

#include "outlook_example.hpp"

#include <gmock/gmock.h>

namespace zant::velmora_host::apt_outlook {
namespace {

using std::chrono::hours;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class PeriodicSwitches : public Outlook_Example {
 protected:
  static std::string dump(const std::string& refresh, const std::string& upgrade,
                          const std::string& more = "") {
    return "APT::Periodic::Update-Package-Lists \"" + refresh + "\";\nAPT::Periodic::Unattended-Upgrade \"" +
           upgrade + "\";\n" + more;
  }

  Causes found(const std::string& dump) {
    return find_periodic_switches(APT_Settings(dump, *host.services.filesystem));
  }

  // Seconds before now at which both were done last.
  Causes delayed(const std::string& interval, long age) {
    answers("stat --format=%Y *", 0, std::to_string(1795348800 - age) + "\n");
    Upgrade_Units units;
    units.next_refresh = units.next_run = question.now + hours(15);
    const APT_Settings apt(dump(interval, interval), *host.services.filesystem);
    return find_periodic_delays(question, apt, units);
  }
};

constexpr long DAY = 24 * 3600;

TEST_F(PeriodicSwitches, AreOnOnAHealthyHost) {
  for (const char* const value : {"always", "1", "7", "1d", "24h", "90m", "5s"}) {
    EXPECT_THAT(found(dump(value, value, "APT::Periodic::Enable \"1\";\n")), IsEmpty()) << value;
  }
}

TEST_F(PeriodicSwitches, AreNamedWhenTheyAreOff) {
  EXPECT_THAT(codes(found(dump("always", "always", "APT::Periodic::Enable \"00\";\n"))),
              ElementsAre("blocks periodic.off"));
  EXPECT_THAT(codes(found(dump("0", "1"))), ElementsAre("blocks periodic.refresh_off"));
  EXPECT_THAT(codes(found(dump("1", "0"))), ElementsAre("blocks periodic.upgrades_off"));
  EXPECT_THAT(codes(found("")), ElementsAre("blocks periodic.refresh_off", "blocks periodic.upgrades_off"));
}

TEST_F(PeriodicSwitches, AreNotDueForAsManyDaysAsTheySay) {
  EXPECT_THAT(codes(delayed("200000", 3 * DAY)),
              ElementsAre("blocks periodic.not_due", "blocks periodic.not_due"));
  EXPECT_THAT(codes(delayed("99999999d", 3 * DAY)),
              ElementsAre("blocks periodic.not_due", "blocks periodic.not_due"));
}

TEST_F(PeriodicSwitches, AreNamedWithTheirPlaceAndTurnedThere) {
  host.write("/etc/apt/apt.conf.d/99local", "// why\nAPT::Periodic::Unattended-Upgrade \"0\";\n");
  const auto causes = found(dump("always", "0"));

  ASSERT_EQ(causes.size(), 1U);
  EXPECT_EQ(causes[0].evidence, "/etc/apt/apt.conf.d/99local:2: APT::Periodic::Unattended-Upgrade \"0\";");
  EXPECT_EQ(causes[0].remedy, "sed -i '2s|^|//|' '/etc/apt/apt.conf.d/99local'");
}

TEST_F(PeriodicSwitches, AreOverruledWhereTheLineCannotBeTakenOut) {
  host.write("/etc/apt/apt.conf.d/99local", "APT::Periodic::Unattended-Upgrade\n  \"0\"\n;\n");

  EXPECT_EQ(found(dump("always", "0"))[0].remedy,
            "echo 'APT::Periodic::Unattended-Upgrade \"always\";' > /etc/apt/apt.conf.d/zzz-zant-velmora");
}

TEST_F(PeriodicSwitches, ThatAreNoIntervalCannotBeTold) {
  for (const char* const value : {"1.5", "yes", "-1", "1 0", ""}) {
    EXPECT_THAT(codes(found(dump(value, "always"))), ElementsAre("obscures periodic.unreadable")) << value;
  }
}

TEST_F(PeriodicSwitches, AreDueByDaysOfTheCalendar) {
  EXPECT_THAT(delayed("1", DAY / 2 + 1), IsEmpty());
  EXPECT_THAT(delayed("always", 0), IsEmpty());
  EXPECT_THAT(delayed("1", 10), IsEmpty()) << "the next run is tomorrow";
  EXPECT_THAT(delayed("2", 2 * DAY), IsEmpty());

  const auto causes = delayed("2", 10);
  ASSERT_THAT(codes(causes), ElementsAre("blocks periodic.not_due", "blocks periodic.not_due"));
  EXPECT_EQ(
      causes[0].message,
      "the package lists are not refreshed in the next run: APT::Periodic::Update-Package-Lists is \"2\", "
      "and it was last done at 2026-11-22T11:59:50Z");
}

TEST_F(PeriodicSwitches, OfTheFutureAreThrownAway) {
  EXPECT_THAT(delayed("30", -5 * DAY), IsEmpty());
}

TEST_F(PeriodicSwitches, AreDueWhenNothingIsKnownOfTheLastTime) {
  delayed("30", 10);
  for (const char* const words : {"", "stat: cannot statx\n", "nonsense\n", "99999999999999999999\n"}) {
    answers("stat --format=%Y *", 0, words);
    const APT_Settings apt(dump("30", "30"), *host.services.filesystem);
    EXPECT_THAT(find_periodic_delays(question, apt, {}), IsEmpty()) << words;
  }
}

}  // namespace
}  // namespace zant::velmora_host::apt_outlook
