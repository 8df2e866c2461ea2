#include <zant/velmora_host/families/apt/upgrade_units.hpp>

#include <zant/velmora_host/base/iso_time.hpp>

#include "outlook_example.hpp"

#include <gmock/gmock.h>
#include <boost/algorithm/string/replace.hpp>

namespace zant::velmora_host::apt_outlook {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::string timer(const std::string& name) {
  return "Id=" + name + ".timer\nUnit=" + name +
         ".service\nNextElapseUSecRealtime=Mon 2026-11-23 03:06:52 "
         "UTC\nLoadState=loaded\nActiveState=active\n"
         "SubState=waiting\nUnitFileState=enabled\nFragmentPath=/lib/systemd/system/x.timer\n";
}

std::string service(const std::string& name, const std::string& work) {
  return "Id=" + name +
         ".service\nResult=success\nExecMainExitTimestamp=Sun 2026-11-22 03:00:00 UTC\nLoadState=loaded\n"
         "ActiveState=inactive\nSubState=dead\nDropInPaths=\nFragmentPath=/lib/systemd/system/x.service\n"
         "ExecStart={ path=/usr/lib/apt/apt.systemd.daily ; argv[]=/usr/lib/apt/apt.systemd.daily " +
         work + " ; ignore_errors=no }\n";
}

class UpgradeUnits : public Outlook_Example {
 protected:
  UpgradeUnits() {
    answers("systemd-analyze condition --unit=apt-daily.service", 0);
    answers("systemd-analyze condition --unit=apt-daily-upgrade.service", 0);
    answers("test -x /usr/lib/apt/apt.systemd.daily", 0);
  }

  std::string healthy = timer("apt-daily") + "\n" + service("apt-daily", "update") + "\n" +
                        timer("apt-daily-upgrade") + "\n" + service("apt-daily-upgrade", "install");

  Upgrade_Units found(const std::string& text) {
    answers("env TZ=UTC systemctl show *", 0, text);
    return find_upgrade_units(question);
  }

  Upgrade_Units found_with(const std::string& from, const std::string& to) {
    return found(boost::algorithm::replace_all_copy(healthy, from, to));
  }
};

TEST_F(UpgradeUnits, HaveNoFaultOnAHealthyHost) {
  const auto units = found(healthy);

  EXPECT_THAT(units.causes, IsEmpty());
  EXPECT_EQ(to_iso_time(*units.next_run), "2026-11-23T03:06:52Z");
  EXPECT_EQ(to_iso_time(units.last_run->ended), "2026-11-22T03:00:00Z");
  EXPECT_TRUE(units.last_run->succeeded);
  EXPECT_FALSE(units.is_running);
}

TEST_F(UpgradeUnits, AreNamedWhenTheyCannotDoTheirWork) {
  const auto codes_with = [this](const char* from, const char* to) {
    return codes(found_with(from, to).causes);
  };

  EXPECT_THAT(codes_with("waiting", "elapsed"), ElementsAre("blocks timer.elapsed", "blocks timer.elapsed"));
  EXPECT_THAT(codes_with("Mon 2026-11-23", "Thu 2099-01-01"),
              ElementsAre("blocks timer.far_ahead", "blocks timer.far_ahead"));
  EXPECT_THAT(codes_with("ActiveState=active", "ActiveState=inactive"),
              ElementsAre("blocks timer.stopped", "blocks timer.stopped"));
  EXPECT_THAT(codes_with("enabled", "disabled"),
              ElementsAre("obscures timer.disabled", "obscures timer.disabled"));
  EXPECT_THAT(codes_with("Unit=apt-daily.service", "Unit=x.service"), ElementsAre("blocks timer.elsewhere"));
  EXPECT_THAT(codes_with("daily install ;", "daily ;"), ElementsAre("obscures service.replaced"));
  EXPECT_THAT(codes_with("Result=success", "Result=timeout"),
              ElementsAre("obscures run.failed", "obscures run.failed"));
  EXPECT_THAT(codes_with("loaded", "masked"), ElementsAre("blocks timer.masked", "blocks service.masked",
                                                          "blocks timer.masked", "blocks service.masked"));
  EXPECT_THAT(codes_with("loaded", "not-found"),
              ElementsAre("blocks timer.missing", "blocks service.missing", "blocks timer.missing",
                          "blocks service.missing"));
  EXPECT_THAT(codes_with("loaded", "bad-setting"),
              ElementsAre("blocks timer.invalid", "blocks service.invalid", "blocks timer.invalid",
                          "blocks service.invalid"));
}

TEST_F(UpgradeUnits, HaveNoTimeThatTheClockCannotHold) {
  const auto units = found_with("Mon 2026-11-23", "Fri 9999-12-31");

  EXPECT_THAT(units.causes, IsEmpty());
  EXPECT_FALSE(units.next_run);
}

TEST_F(UpgradeUnits, MayBeChangedInHarmlessWaysOnly) {
  const std::string drop_in = "/etc/systemd/system/apt-daily.service.d/a.conf";
  host.write(drop_in, "[Service]\nNice=19\n# text\n");
  EXPECT_THAT(found_with("DropInPaths=", "DropInPaths=" + drop_in).causes, IsEmpty());

  host.write(drop_in, "[Service]\nPrivateNetwork=yes\n");
  const auto causes = found_with("DropInPaths=", "DropInPaths=" + drop_in).causes;
  EXPECT_THAT(codes(causes), ElementsAre("obscures service.changed", "obscures service.changed"));
  EXPECT_EQ(causes[0].evidence, drop_in + ":2: PrivateNetwork=yes");
}

TEST_F(UpgradeUnits, MayBeChangedInAnAdministratorsOtherPlaces) {
  const std::string drop_in = "/usr/local/lib/systemd/system/apt-daily.service.d/a.conf";
  host.write(drop_in, "[Service]\nExecCondition=/bin/false\n");

  EXPECT_THAT(codes(found_with("DropInPaths=", "DropInPaths=" + drop_in).causes),
              ElementsAre("obscures service.changed", "obscures service.changed"));
}

TEST_F(UpgradeUnits, NeedTheProgramThatTheyStart) {
  answers("test -x /usr/lib/apt/apt.systemd.daily", 1);
  const auto causes = found(healthy).causes;

  ASSERT_THAT(codes(causes), ElementsAre("blocks service.program_missing", "blocks service.program_missing"));
  EXPECT_EQ(causes[0].remedy,
            "test -e /usr/lib/apt/apt.systemd.daily && chmod 0755 /usr/lib/apt/apt.systemd.daily || apt-get "
            "install --reinstall --assume-yes apt");
}

TEST_F(UpgradeUnits, WithUnmetConditionsAreNotStarted) {
  answers("systemd-analyze condition --unit=apt-daily.service", 1,
          "test.service: ConditionPathExists=/x failed.\n");
  EXPECT_THAT(codes(found(healthy).causes), ElementsAre("blocks service.condition_unmet"));

  answers("systemd-analyze condition --unit=apt-daily.service", 1,
          "test.service: ConditionACPower=true failed.\n");
  EXPECT_THAT(codes(found(healthy).causes), ElementsAre("blocks power.on_battery"));

  answers("systemd-analyze condition --unit=apt-daily.service", 1, "unrecognized option '--unit'\n");
  EXPECT_THAT(found(healthy).causes, IsEmpty()) << "an older systemd cannot be asked";
}

TEST_F(UpgradeUnits, ThatRunAreToldToRun) {
  EXPECT_TRUE(found_with("ActiveState=inactive", "ActiveState=activating").is_running);
}

TEST_F(UpgradeUnits, CannotBeToldFromOtherWords) {
  for (const char* const words : {"", "Failed to connect to bus\n", "a=b\n\n\n", "\xff"}) {
    answers("env TZ=UTC systemctl show *", 1, words);
    EXPECT_THAT(codes(find_upgrade_units(question).causes), ElementsAre("obscures tools.failed"));
  }
}

}  // namespace
}  // namespace zant::velmora_host::apt_outlook
