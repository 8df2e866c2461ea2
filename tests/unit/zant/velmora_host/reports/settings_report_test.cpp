#include <zant/velmora_host/reports/settings_report.hpp>

#include <zant/velmora_host/services/temporary_directory.hpp>
#include <zant/velmora_host/settings/settings_in_force.hpp>

#include <support/fake_filesystem.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <fstream>
#include <sstream>
#include <string>

namespace zant::velmora_host {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;
using Row = Settings_Report::Row;
using Service = Settings_Report::Service;

class SettingsReport : public ::testing::Test {
 protected:
  SettingsReport() {
    sources_.file = directory_.path() / "x.properties";
    sources_.overrides = {{"minder.state_directory", "/state"}};
    filesystem_.create_directories("/state");
  }

  void given_file(const std::string& text) {
    std::ofstream(sources_.file.string()) << text;
    filesystem_.add_file(sources_.file, text);
  }
  void given_service(const std::string& process, const std::string& file) {
    given_file(file);
    Settings_In_Force in_force = settings_in_force::of_this_process(Settings(sources_));
    in_force.process = process;
    settings_in_force::write(filesystem_, "/state", in_force);
  }

  Settings_Report report(const std::string& holder = "", velmora::Init init = velmora::Init::systemd) {
    return make_settings_report(Settings(sources_), filesystem_, init, holder);
  }

  Row row(const Settings_Report& report, const std::string& key) {
    const auto found = std::find_if(report.rows.begin(), report.rows.end(),
                                    [&key](const Row& candidate) { return candidate.key == key; });
    return found == report.rows.end() ? Row{"no such row", "", "", {}, "", ""} : *found;
  }

  nlohmann::json json(const Settings_Report& report) { return nlohmann::json::parse(to_json_text(report)); }

  Temporary_Directory directory_;
  velmora::test_support::Fake_Filesystem filesystem_;
  Settings_Sources sources_;
};

TEST_F(SettingsReport, ShowsDefaultsAndWhereOtherValuesComeFrom) {
  given_file("\nminder.interval = 60\n");

  const auto settings = report();

  EXPECT_EQ(row(settings, "minder.interval"),
            (Row{"minder.interval", "60", "", Setting_Source::FILE, sources_.file.string() + ":2", ""}));
  EXPECT_EQ(row(settings, "minder.state_directory").place, "--set");
  EXPECT_EQ(row(settings, "minder.log.level"),
            (Row{"minder.log.level", "info", "", Setting_Source::DEFAULT, "", ""}));
  EXPECT_EQ(row(settings, "minder.metrics_file"),
            (Row{"minder.metrics_file", "", "none", Setting_Source::DEFAULT, "", ""}));
  EXPECT_EQ(row(settings, "package.dnf.repo.throttle").value, "500k");
}

TEST_F(SettingsReport, ShowsTheDefaultsOfTheHostsInit) {
  EXPECT_EQ(row(report(), "package.apt.repo.url").value, "https://repo.velmora.example/velmora-apt-repo/");
  EXPECT_EQ(row(report(), "package.apt.repo.channel").value, "systemd-production");

  const auto other = report("", velmora::Init::other);
  EXPECT_EQ(row(other, "package.apt.repo.url").value, "http://repo.velmora.example/velmora-apt-repo/");
  EXPECT_EQ(row(other, "package.apt.repo.channel").value, "sysvinit-production");
  EXPECT_EQ(row(other, "package.dnf.repo.channel").value, "systemd-production");
}

TEST_F(SettingsReport, ShowsTheDefaultForAnEmptyValueThatMeansIt) {
  given_file("package.apt.repo.channel =\n");

  EXPECT_EQ(row(report(), "package.apt.repo.channel"),
            (Row{"package.apt.repo.channel", "systemd-production", "", Setting_Source::FILE,
                 sources_.file.string() + ":1", ""}));
}

TEST_F(SettingsReport, LeavesOutWhatHasNoEffectHereUnlessItIsSet) {
  EXPECT_EQ(report().rows.size(), 26U);

  given_file("package.choco.repo.channel = beta\n");
  EXPECT_EQ(report().rows.size(), 27U);
  EXPECT_EQ(row(report(), "package.choco.repo.channel").value, "beta");
}

TEST_F(SettingsReport, SaysThatNoServiceRuns) {
  const auto settings = report();

  EXPECT_EQ(settings.service, Service::NOT_RUNNING);
  EXPECT_FALSE(settings.needs_restart());
  EXPECT_THAT(to_text(settings), HasSubstr("\nService        not running\n"));
  EXPECT_EQ(json(settings).at("service"), (nlohmann::json{{"state", "not_running"}, {"process", nullptr}}));
  EXPECT_EQ(json(settings).at("settings").at(0).at("in_service"), nullptr);
}

TEST_F(SettingsReport, SaysThatTheServiceHasTheseSettings) {
  given_service("17", "minder.interval = 60\n");

  const auto settings = report("17");

  EXPECT_EQ(settings.service, Service::RUNNING);
  EXPECT_EQ(settings.process, "17");
  EXPECT_FALSE(settings.needs_restart());
  EXPECT_THAT(to_text(settings), HasSubstr("\nService        running (process 17), has these settings\n"));
  EXPECT_THAT(to_text(settings), Not(HasSubstr("the service has")));
  EXPECT_EQ(json(settings).at("service"), (nlohmann::json{{"state", "running"}, {"process", "17"}}));
  EXPECT_EQ(json(settings).at("needs_restart"), false);
}

TEST_F(SettingsReport, SaysWhichSettingsTheServiceHasNotYet) {
  given_service("17", "minder.interval = 60\npackage.dnf.repo.baseurl = https://a.test/\n");
  given_file("minder.interval = 70\n");

  const auto settings = report("17");

  EXPECT_TRUE(settings.needs_restart());
  EXPECT_EQ(row(settings, "minder.interval").service_value, "60");
  EXPECT_EQ(row(settings, "package.dnf.repo.baseurl").service_value, "https://a.test/");
  EXPECT_EQ(row(settings, "package.apt.repo.channel").service_value, "systemd-production");
  EXPECT_THAT(to_text(settings), HasSubstr("running (process 17), restart it to apply changed settings\n"));
  EXPECT_THAT(to_text(settings), HasSubstr("minder.interval                            70\n    from " +
                                           sources_.file.string() + ":1\n    the service has: 60\n"));
  EXPECT_THAT(to_text(settings), HasSubstr("package.dnf.repo.baseurl                   not set: none\n"
                                           "    the service has: https://a.test/\n"));
  const auto first = json(settings).at("settings").at(0);
  EXPECT_EQ(first, (nlohmann::json{{"key", "minder.interval"},
                                   {"value", "70"},
                                   {"source", "file"},
                                   {"place", sources_.file.string() + ":1"},
                                   {"in_service", false},
                                   {"service_value", "60"}}));
  EXPECT_EQ(json(settings).at("needs_restart"), true);
}

TEST_F(SettingsReport, SaysWhatTheServiceHasNotAnyMore) {
  given_service("17", "");
  given_file("minder.metrics_file = /srv/x.prom\n");

  EXPECT_THAT(to_text(report("17")), HasSubstr("    the service has: not set: none\n"));
  EXPECT_EQ(row(report("17"), "minder.metrics_file").service_value, "");
}

TEST_F(SettingsReport, DoesNotBelieveAProcessThatHasEnded) {
  given_service("17", "minder.interval = 60\n");

  const auto settings = report("18");

  EXPECT_EQ(settings.service, Service::UNKNOWN);
  EXPECT_FALSE(settings.needs_restart());
  EXPECT_THAT(to_text(settings), HasSubstr("Service        process 18 is running, with unknown settings\n"));
  EXPECT_EQ(json(settings).at("service").at("state"), "unknown");
  EXPECT_EQ(json(settings).at("settings").at(0).at("in_service"), nullptr);
  EXPECT_EQ(report("").service, Service::NOT_RUNNING);
}

TEST_F(SettingsReport, TellsTheFile) {
  EXPECT_THAT(to_text(report()),
              ::testing::StartsWith("Settings file  " + sources_.file.string() + " (missing)\nService "));
  EXPECT_EQ(json(report()).at("file").at("exists"), false);

  given_file("");
  EXPECT_THAT(to_text(report()),
              ::testing::StartsWith("Settings file  " + sources_.file.string() + "\nService "));
  EXPECT_EQ(json(report()).at("file"), (nlohmann::json{{"path", sources_.file.string()}, {"exists", true}}));
  EXPECT_EQ(json(report()).at("format"), "package-minder/settings");
  EXPECT_EQ(json(report()).at("version"), 1);
}

TEST_F(SettingsReport, FitsATerminal) {
  sources_.overrides.emplace_back("package.dnf.repo.channel", std::string(37, 'x'));
  sources_.overrides.emplace_back("package.apt.repo.channel", std::string(38, 'x'));
  const std::string text = to_text(report());

  EXPECT_THAT(text, HasSubstr("package.dnf.repo.channel                   " + std::string(37, 'x') + "\n"));
  EXPECT_THAT(text, HasSubstr("package.apt.repo.channel\n    " + std::string(38, 'x') + "\n"));
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    EXPECT_LE(line.size(), 80U) << line;
  }
}

TEST_F(SettingsReport, ShowsAnEmptyValueInAWord) {
  sources_.overrides.emplace_back("package.choco.upgrade_scheduler.options", "");

  EXPECT_THAT(to_text(report()), HasSubstr("package.choco.upgrade_scheduler.options    empty\n"));
}

}  // namespace
}  // namespace zant::velmora_host
