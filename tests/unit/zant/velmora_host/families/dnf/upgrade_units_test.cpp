#include <zant/velmora_host/families/dnf/upgrade_units.hpp>

#include <zant/velmora_host/base/iso_time.hpp>

#include <support/fake_system.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace zant::velmora_host::dnf_outlook {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr const char* SHOW =
    "TZ=UTC timeout --kill-after=1 4 systemctl show "
    "--property=Id,LoadState,LoadError,UnitFileState,ActiveState,SubState,Result,Unit,NextElapseUSecRealtime,"
    "NextElapseUSecMonotonic,ExecStart,ExecMainStatus,ExecMainExitTimestamp,FragmentPath,DropInPaths,User,"
    "ReadOnlyPaths,InaccessiblePaths,ProtectSystem,PrivateNetwork,ActiveEnterTimestamp "
    "dnf-automatic-install.timer dnf-automatic-install.service";

const auto NOW = parse_iso_time("2026-11-22T12:00:00Z");

class DnfUpgradeUnits : public ::testing::Test {
 protected:
  DnfUpgradeUnits() {
    timer_ = {{"Id", "dnf-automatic-install.timer"},
              {"LoadState", "loaded"},
              {"UnitFileState", "disabled"},
              {"ActiveState", "active"},
              {"Unit", "dnf-automatic-install.service"},
              {"NextElapseUSecRealtime", "Mon 2026-11-23 03:01:58 UTC"},
              {"NextElapseUSecMonotonic", "infinity"}};
    service_ = {
        {"Id", "dnf-automatic-install.service"},
        {"LoadState", "loaded"},
        {"ActiveState", "inactive"},
        {"ExecStart",
         "{ path=/usr/bin/dnf-automatic ; argv[]=/usr/bin/dnf-automatic /etc/dnf/automatic.conf --timer "
         "--installupdates ; ignore_errors=no ; pid=0 }"}};
  }

  Upgrade_Units units() const {
    return {timer_, service_, timer_condition_, service_condition_, std::chrono::hours(24)};
  }

  std::vector<std::string> codes(bool are_wanted = true) const {
    std::vector<std::string> codes;
    for (const auto& cause : find_unit_causes(units(), are_wanted, NOW)) {
      codes.push_back(cause.code);
    }
    return codes;
  }

  std::string remedy() const { return find_unit_causes(units(), true, NOW).at(0).remedy; }

  Upgrade_Units::Properties timer_;
  Upgrade_Units::Properties service_;
  std::string timer_condition_;
  std::string service_condition_;
};

TEST_F(DnfUpgradeUnits, OfAHealthyHostHaveNoCause) {
  EXPECT_THAT(codes(), IsEmpty());
  EXPECT_EQ(next_run_of(units(), NOW), parse_iso_time("2026-11-23T03:01:58Z"));
  EXPECT_FALSE(last_run_of(units())) << "none since boot";
  EXPECT_THAT(
      words_of_automatic(units()).value(),
      ElementsAre("/usr/bin/dnf-automatic", "/etc/dnf/automatic.conf", "--timer", "--installupdates"));
}

TEST_F(DnfUpgradeUnits, AreReadFromSystemd) {
  velmora::test_support::Fake_System system;
  system.on(SHOW, 0,
            "Id=dnf-automatic-install.timer\nLoadState=loaded\nActiveState=active\n\n"
            "Id=dnf-automatic-install.service\nLoadState=loaded\nResult=success\n");
  const char* condition =
      "LC_ALL=C timeout --kill-after=1 4 systemd-analyze condition --unit=dnf-automatic-install.service 2>&1";
  system.on(condition, 1, "test.service: ConditionPathExists=/nowhere failed.\nConditions failed.\n");

  const auto units = ask_for_upgrade_units(system);

  ASSERT_TRUE(units);
  EXPECT_EQ(units->timer.at("ActiveState"), "active");
  EXPECT_EQ(units->service.at("LoadState"), "loaded");
  EXPECT_EQ(units->service_condition,
            "test.service: ConditionPathExists=/nowhere failed.\nConditions failed.");

  for (const auto& [exit_code, words] : {std::pair(0, "Conditions succeeded."),
                                         std::pair(1, "unrecognized option '--unit'"), std::pair(124, "")}) {
    system.on(condition, exit_code, words);
    EXPECT_EQ(ask_for_upgrade_units(system)->service_condition, "") << words;
  }
}

TEST_F(DnfUpgradeUnits, AreUnknownWhenSystemdFailsOrSaysSomethingElse) {
  velmora::test_support::Fake_System system;
  system.on(SHOW, 124, "");
  EXPECT_FALSE(ask_for_upgrade_units(system));
  system.on(SHOW, 0, "");
  EXPECT_FALSE(ask_for_upgrade_units(system));
  system.on(SHOW, 0, "Id=a.timer\n\nId=b.service\n");
  EXPECT_FALSE(ask_for_upgrade_units(system));
}

TEST_F(DnfUpgradeUnits, NameATimerThatStartsNothing) {
  timer_["ActiveState"] = "inactive";
  EXPECT_THAT(codes(), ElementsAre("timer.stopped"));
  EXPECT_EQ(remedy(), "systemctl start dnf-automatic-install.timer");

  timer_condition_ = "test.timer: ConditionPathExists=/nowhere failed.";
  EXPECT_THAT(codes(), ElementsAre("timer.condition_unmet"));

  timer_["LoadState"] = "masked";
  EXPECT_THAT(codes(), ElementsAre("timer.masked"));
  EXPECT_EQ(remedy(),
            "systemctl unmask dnf-automatic-install.timer && systemctl start dnf-automatic-install.timer");

  timer_["LoadState"] = "bad-setting";
  EXPECT_THAT(codes(), ElementsAre("timer.invalid"));
}

TEST_F(DnfUpgradeUnits, NameAMissingTimerOnce) {
  timer_["LoadState"] = "not-found";
  service_["LoadState"] = "not-found";

  EXPECT_THAT(codes(), ElementsAre("timer.missing"));
  EXPECT_EQ(remedy(), "package-minder once");

  service_["LoadState"] = "loaded";
  EXPECT_THAT(codes(), ElementsAre("timer.missing"));
  EXPECT_EQ(remedy(), "dnf -y reinstall dnf-automatic && package-minder once");
}

TEST_F(DnfUpgradeUnits, NameATimerWithoutATimeToCome) {
  timer_["NextElapseUSecRealtime"] = "";
  EXPECT_THAT(codes(), ElementsAre("timer.elapsed"));

  timer_["SubState"] = "running";
  EXPECT_THAT(codes(), IsEmpty()) << "while its service runs";

  timer_["SubState"] = "waiting";
  timer_["NextElapseUSecMonotonic"] = "1d 2h";
  EXPECT_THAT(codes(), IsEmpty());
}

TEST_F(DnfUpgradeUnits, NameATimerWhoseTimeIsFarAway) {
  timer_["NextElapseUSecRealtime"] = "Mon 2026-11-30 11:59:00 UTC";
  EXPECT_THAT(codes(), IsEmpty()) << "once a week";

  timer_["NextElapseUSecRealtime"] = "Tue 2026-12-01 03:00:00 UTC";
  EXPECT_THAT(codes(), ElementsAre("timer.far_ahead"));
  EXPECT_EQ(find_unit_causes(units(), true, NOW).at(0).effect, Cause_Effect::OBSCURES) << "once a month";

  timer_["NextElapseUSecRealtime"] = "Thu 2099-01-01 00:00:00 UTC";
  const Cause never = find_unit_causes(units(), true, NOW).at(0);
  EXPECT_EQ(never.effect, Cause_Effect::BLOCKS);
  EXPECT_EQ(never.message, "dnf-automatic-install.timer starts nothing before 2099-01-01T00:00:00Z");
}

TEST_F(DnfUpgradeUnits, KnowATimeSinceTheBoot) {
  timer_["NextElapseUSecRealtime"] = "";
  timer_["NextElapseUSecMonotonic"] = "1d 1h 30min 2.5s";
  EXPECT_EQ(next_run_of(units(), NOW), parse_iso_time("2026-11-22T13:30:02Z"));
  EXPECT_THAT(codes(), IsEmpty());

  timer_["NextElapseUSecMonotonic"] = "10y";
  EXPECT_THAT(codes(), ElementsAre("timer.far_ahead"));

  timer_["NextElapseUSecMonotonic"] = "1 moon";
  EXPECT_FALSE(next_run_of(units(), NOW));
}

TEST_F(DnfUpgradeUnits, HaveNoTimeThatTheClockCannotHold) {
  timer_["NextElapseUSecRealtime"] = "Fri 9999-12-31 00:00:00 UTC";
  for (const char* const span : {"1e300y", "-1e300y", "nan s", "9999999999 y", "3e11 s", "200000 w"}) {
    timer_["NextElapseUSecMonotonic"] = span;
    EXPECT_FALSE(next_run_of(units(), NOW)) << span;
  }
}

TEST_F(DnfUpgradeUnits, NameATimerOfSomethingElse) {
  timer_["Unit"] = "backup.service";

  EXPECT_THAT(codes(), ElementsAre("timer.elsewhere"));
}

TEST_F(DnfUpgradeUnits, NameAServiceThatCannotUpgrade) {
  service_["LoadState"] = "masked";
  EXPECT_THAT(codes(), ElementsAre("service.masked"));
  EXPECT_EQ(remedy(), "systemctl unmask dnf-automatic-install.service");

  service_["LoadState"] = "not-found";
  EXPECT_THAT(codes(), ElementsAre("service.missing"));

  service_["LoadState"] = "bad-setting";
  EXPECT_THAT(codes(), ElementsAre("service.invalid"));

  service_["LoadState"] = "loaded";
  service_condition_ = "test.service: ConditionPathExists=/nowhere failed.";
  EXPECT_THAT(codes(), ElementsAre("service.condition_unmet"));

  service_["ExecStart"] = "{ path=/bin/true ; argv[]=/bin/true ; ignore_errors=no }";
  EXPECT_THAT(codes(), ElementsAre("service.replaced"));
  EXPECT_EQ(remedy(), "systemctl revert dnf-automatic-install.service");
}

TEST_F(DnfUpgradeUnits, NameAServiceThatMayNotUpgrade) {
  service_["ProtectSystem"] = "no";
  EXPECT_THAT(codes(), IsEmpty());

  service_["ReadOnlyPaths"] = "/usr";
  EXPECT_THAT(codes(), ElementsAre("service.confined"));

  service_["User"] = "nobody";
  EXPECT_THAT(codes(), ElementsAre("service.unprivileged"));
}

TEST_F(DnfUpgradeUnits, ThatNobodyWantsAreToldAsSwitchedOff) {
  timer_["ActiveState"] = "inactive";

  EXPECT_THAT(codes(false), ElementsAre("upgrades.switched_off"));
  EXPECT_THAT(find_unit_causes(units(), false, NOW).at(0).evidence,
              HasSubstr("minder.automatic_upgrades=false"));
}

TEST_F(DnfUpgradeUnits, TellHowTheLastRunEnded) {
  service_["ExecMainExitTimestamp"] = "Sun 2026-11-22 03:10:00 UTC";
  service_["Result"] = "exit-code";

  const auto run = last_run_of(units());

  ASSERT_TRUE(run);
  EXPECT_EQ(run->ended, parse_iso_time("2026-11-22T03:10:00Z"));
  EXPECT_FALSE(run->succeeded);
  EXPECT_EQ(run->result, "exit-code");

  service_["ActiveState"] = "activating";
  EXPECT_FALSE(last_run_of(units())) << "a run that is going on has not ended";
}

TEST_F(DnfUpgradeUnits, SurviveNonsense) {
  for (const char* text : {"", "n/a", "Mon 2026-99-99 03:00:00 UTC", "Mon 2026-11-23 03:00:00 CET", "0"}) {
    timer_["NextElapseUSecRealtime"] = text;
    service_["ExecMainExitTimestamp"] = text;
    EXPECT_FALSE(next_run_of(units(), NOW)) << text;
    EXPECT_FALSE(last_run_of(units())) << text;
  }
  for (const char* text : {"", "argv[]=", "argv[]= ; ", "{ argv[]=dnf-automatic"}) {
    service_["ExecStart"] = text;
    EXPECT_FALSE(words_of_automatic(units())) << text;
  }
}

}  // namespace
}  // namespace zant::velmora_host::dnf_outlook
