#include <program/command_line.hpp>
#include <program/dispatch.hpp>

#include <zant/velmora_host/reports/monitoring.hpp>
#include <zant/velmora_host/reports/status.hpp>

#include <support/host_side/debian_host.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <boost/filesystem/operations.hpp>
#include <nlohmann/json.hpp>

#include <unistd.h>

#include <algorithm>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace zant::program {
namespace {

using nlohmann::json;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

constexpr int ERROR = 5;

struct Outcome {
  int exit_status;
  std::string output;
  std::string log;
};

// The program as it is called, on a Debian host that is not this one.
class Dispatch : public ::testing::Test {
 protected:
  Dispatch() {
    host_.write("/etc/package-minder.properties", "");
    host_.allow_changes();
    host_.answer_status();
  }

  Outcome call(std::vector<std::string> words) {
    return call(std::move(words), [this](const auto&) { return host_.services; });
  }

  Outcome call(std::vector<std::string> words, const Service_Maker& make_services) {
    words.insert(words.begin(), "package-minder");
    words.insert(words.end(), {"--settings", host_.on_disk("/etc/package-minder.properties").string()});
    for (const auto& [key, value] : host_.settings_sources().overrides) {
      words.insert(words.end(), {"--set", key + "=" + value});
    }
    std::vector<const char*> values;
    for (const auto& word : words) {
      values.push_back(word.c_str());
    }

    std::ostringstream output;
    std::streambuf* const standard_output = std::cout.rdbuf(output.rdbuf());
    ::testing::internal::CaptureStderr();
    const auto parsed =
        parse_command_line(static_cast<int>(values.size()), values.data(), std::cout, std::cerr);
    const int status =
        parsed.command_line ? dispatch(*parsed.command_line, make_services) : parsed.exit_status;
    std::cout.rdbuf(standard_output);
    return {status, output.str(), ::testing::internal::GetCapturedStderr()};
  }

  velmora_host::test_support::Debian_Host host_;
};

// --- What is not carried out -------------------------------------------------

TEST_F(Dispatch, RefusesSettingsThatAreWrong) {
  host_.set("minder.interval", "0");

  const auto outcome = call({"once"});

  EXPECT_EQ(outcome.exit_status, 78);
  EXPECT_THAT(outcome.log, HasSubstr(" error   package-minder: --set: minder.interval"));
  EXPECT_THAT(host_.system->commands(), IsEmpty());
}

TEST_F(Dispatch, RefusesWhoIsNotRoot) {
  ASSERT_EQ(::seteuid(4711), 0);
  const auto outcome = call({"status", "--json"});
  ASSERT_EQ(::seteuid(0), 0);

  EXPECT_EQ(outcome.exit_status, 77);
  EXPECT_THAT(host_.log.messages(ERROR),
              ElementsAre("package-minder must be run by the administrator: run it as root"));
  EXPECT_EQ(json::parse(outcome.output).at("error").at("code"), "no_rights");
}

TEST_F(Dispatch, GivesAReasonInTheReportsPlace) {
  host_.write("/etc/os-release", "ID=other\n");

  const auto outcome = call({"status", "--json"});

  EXPECT_EQ(outcome.exit_status, 69);
  EXPECT_EQ(json::parse(outcome.output).at("format"), "package-minder/status");
  EXPECT_EQ(json::parse(outcome.output).at("error").at("code"), "unsupported_host");
  EXPECT_EQ(json::parse(outcome.output).at("error").at("exit_status"), 69);
  EXPECT_EQ(json::parse(outcome.output).at("error").at("messages"), json(host_.log.messages(ERROR)));
  EXPECT_EQ(json::parse(call({"purge", "--plan", "--json"}).output).at("format"), "package-minder/plan");
  EXPECT_EQ(call({"status"}).output, "") << "a person has the log";
}

TEST_F(Dispatch, FailsWithWhatItWasToldAndExitsWithOne) {
  const auto outcome = call(
      {"once"}, [](const auto&) -> velmora_host::Host_Services { throw std::runtime_error("no services"); });

  EXPECT_EQ(outcome.exit_status, 1);
  EXPECT_THAT(outcome.log, EndsWith(" error   package-minder: Encountered error: no services\n"));
}

TEST_F(Dispatch, SurvivesWhatIsNoException) {
  const auto outcome = call({"once"}, [](const auto&) -> velmora_host::Host_Services { throw 7; });

  EXPECT_EQ(outcome.exit_status, 1);
  EXPECT_THAT(outcome.log, EndsWith(" error   package-minder: Unknown error\n"));
}

TEST_F(Dispatch, TellsHowACommandLineIsWrong) {
  const auto outcome = call({"twice"});

  EXPECT_EQ(outcome.exit_status, 64);
  EXPECT_EQ(outcome.output, "");
}

// --- The log -----------------------------------------------------------------

TEST_F(Dispatch, LogsAsTheSettingsSay) {
  host_.set("minder.log.format", "journal");

  EXPECT_THAT(call({"once"}).log, EndsWith("<6>package-minder: The cycle is done\n"));

  host_.set("minder.log.level", "notice");
  EXPECT_THAT(call({"once"}).log, Not(HasSubstr("The cycle is done")));
}

TEST_F(Dispatch, LogsOnlyErrorsBesideAReportUnlessMoreIsAskedFor) {
  host_.set("minder.log.format", "journal");

  EXPECT_EQ(call({"plan"}).log, "");
  EXPECT_EQ(call({"purge", "--plan"}).log, "");
  EXPECT_THAT(call({"plan", "--log-level", "notice"}).log, HasSubstr("<5>APT_Package_Config: "));
}

// --- Commands ----------------------------------------------------------------

TEST_F(Dispatch, OfPurgeWithPlanPurgesNothing) {
  host_.set_up();

  const auto outcome = call({"purge", "--plan"});

  EXPECT_EQ(outcome.exit_status, 2);
  EXPECT_THAT(outcome.output, HasSubstr("A purge would change this host.\n"));
  EXPECT_THAT(host_.files_below("etc/apt"), Contains("sources.list.d/zant-velmora.list"));
}

TEST_F(Dispatch, OfPurgeWithoutPlanPurges) {
  host_.set_up();

  EXPECT_EQ(call({"purge"}).exit_status, 0);

  EXPECT_THAT(host_.files_below("etc/apt"), Not(Contains("sources.list.d/zant-velmora.list")));
}

TEST_F(Dispatch, OfPurgeOfTheUpgradesWithPlanShowsThoseAlone) {
  host_.set_up();
  host_.write("/etc/apt/apt.conf.d/.zant-backups/20auto-upgrades", "the host's own\n");

  const auto outcome = call({"purge", "--plan", "--upgrades-only", "--json"});

  EXPECT_EQ(outcome.exit_status, 2);
  EXPECT_EQ(json::parse(outcome.output).at("operation"), "purge_upgrades");
}

TEST_F(Dispatch, OfAPlanExitsWithWhatItFound) {
  EXPECT_EQ(call({"plan"}).exit_status, 2);

  host_.set_up();
  const auto outcome = call({"plan"});
  EXPECT_EQ(outcome.exit_status, 0);
  EXPECT_EQ(outcome.output,
            "This host is in step: the next cycle would change nothing.\n"
            "\n"
            "Commands run every cycle, with no effect now:\n"
            "  service unattended-upgrades start > /dev/null\n"
            "  systemctl start apt-daily-upgrade.timer\n");

  host_.remove("/etc/apt/trusted.gpg.d");
  EXPECT_EQ(call({"plan"}).exit_status, 1);
}

TEST_F(Dispatch, OfAStatusPrintsThePageAndSucceeds) {
  host_.set_up();

  const auto outcome = call({"status"});

  EXPECT_EQ(outcome.exit_status, 0);
  EXPECT_EQ(outcome.output, to_text(make_status(host_.settings(), host_.services)));
  EXPECT_THAT(outcome.output, StartsWith("Verdict             "));
}

TEST_F(Dispatch, OfAStatusForProgramsPrintsTheWholeDocument) {
  host_.set_up();

  const auto outcome = call({"status", "--json"});

  EXPECT_EQ(outcome.exit_status, 0);
  EXPECT_EQ(outcome.output, to_json_text(make_status(host_.settings(), host_.services)));
}

TEST_F(Dispatch, OfAStatusForMonitoringPrintsOneLineAndExitsAsAPlugin) {
  host_.set_up();

  const auto outcome = call({"status", "--monitoring"});

  EXPECT_THAT(outcome.output, StartsWith("PACKAGE_MINDER "));
  EXPECT_EQ(std::count(outcome.output.begin(), outcome.output.end(), '\n'), 1);
  EXPECT_EQ(outcome.exit_status,
            static_cast<int>(monitoring_state(make_status(host_.settings(), host_.services))));
}

TEST_F(Dispatch, OfAStatusForMonitoringIsUnknownWithoutAReport) {
  host_.write("/etc/os-release", "ID=plan9\n");
  const auto unsupported = call({"status", "--monitoring"});
  host_.set("minder.interval", "soon");
  const auto bad_settings = call({"status", "--monitoring"});

  EXPECT_EQ(unsupported.exit_status, 3);
  EXPECT_THAT(unsupported.output, StartsWith("PACKAGE_MINDER UNKNOWN - no supported package manager: "));
  EXPECT_EQ(bad_settings.exit_status, 3);
  EXPECT_THAT(bad_settings.output, StartsWith("PACKAGE_MINDER UNKNOWN - "));
  EXPECT_EQ(std::count(bad_settings.output.begin(), bad_settings.output.end(), '\n'), 1);
}

TEST_F(Dispatch, OfAHoldAndAReleaseRunsTheTool) {
  EXPECT_EQ(call({"hold"}).exit_status, 0);
  EXPECT_THAT(host_.system->commands(), Contains("apt-mark -qq hold zant-velmora"));

  EXPECT_EQ(call({"release"}).exit_status, 0);
  EXPECT_THAT(host_.system->commands(), Contains("apt-mark -qq unhold zant-velmora"));
}

// --- check -------------------------------------------------------------------

TEST_F(Dispatch, OfACheckWithoutFindingsSucceeds) {
  host_.pass_checks();

  const auto outcome = call({"check"});

  EXPECT_EQ(
      outcome.output,
      "Trusted key 4A3B843A1F3D4F09D7A06659C4A1C7AE6D372198 (EdDSA 255, created 2026-01-01, never "
      "expires)\n"
      "    Good Key <good@velmora.test>\n"
      "Not checked: whether the package upgrades on this host, because dpkg-query --show "
      "--showformat='${Version}|${Architecture}|${db:Status-Status}' zant-velmora: no words.\n"
      "Not checked: whether the package upgrades on this host, because systemctl show apt-daily.timer: no "
      "words.\n"
      "Not checked: whether the package upgrades on this host, because apt-config dump: no words.\n"
      "Nothing found that needs to be put right.\n");
  EXPECT_EQ(outcome.exit_status, 0);
}

TEST_F(Dispatch, OfACheckWithFindingsExitsWithOne) {
  host_.pass_checks();
  host_.put_keyring("");
  host_.system->on("command -v grep > /dev/null", 1);

  const auto outcome = call({"check", "--json"});

  EXPECT_EQ(outcome.exit_status, 1);
  EXPECT_EQ(outcome.output,
            "{\n"
            "  \"format\": \"package-minder/check\",\n"
            "  \"version\": 1,\n"
            "  \"findings\": [\n"
            "    {\n"
            "      \"code\": \"tools.missing\",\n"
            "      \"where\": \"grep\",\n"
            "      \"message\": \"this command is missing\",\n"
            "      \"remedy\": \"install the package grep\"\n"
            "    },\n"
            "    {\n"
            "      \"code\": \"keyring.empty\",\n"
            "      \"where\": \"" +
                (host_.installed_tree() / "keyrings/zant-velmora.gpg").string() +
                "\",\n"
                "      \"message\": \"holds no key that can sign\",\n"
                "      \"remedy\": \"put the keyring with the repository's current keys there\"\n"
                "    }\n"
                "  ],\n"
                "  \"unchecked\": [\n"
                "    {\n"
                "      \"code\": \"upgrades\",\n"
                "      \"what\": \"whether the package upgrades on this host\",\n"
                "      \"reason\": \"dpkg-query --show "
                "--showformat='${Version}|${Architecture}|${db:Status-Status}' zant-velmora: no words\"\n"
                "    },\n"
                "    {\n"
                "      \"code\": \"upgrades\",\n"
                "      \"what\": \"whether the package upgrades on this host\",\n"
                "      \"reason\": \"systemctl show apt-daily.timer: no words\"\n"
                "    },\n"
                "    {\n"
                "      \"code\": \"upgrades\",\n"
                "      \"what\": \"whether the package upgrades on this host\",\n"
                "      \"reason\": \"apt-config dump: no words\"\n"
                "    }\n"
                "  ],\n"
                "  \"keys\": []\n"
                "}\n");
}

TEST_F(Dispatch, OfACheckFindsWrongSettingsAndLooksAtNothingElse) {
  host_.set("minder.interval", "0");

  const auto outcome = call({"check"});

  EXPECT_EQ(outcome.exit_status, 1);
  EXPECT_THAT(outcome.output,
              HasSubstr("[settings.bad_value]\n"
                        "Not checked: the staging tree and the host, because the settings are not "
                        "usable.\n1 finding.\n"));
  EXPECT_THAT(host_.system->commands(), IsEmpty());
}

TEST_F(Dispatch, OfACheckIsRefusedWhenTheSettingsCannotBeRead) {
  host_.remove("/etc/package-minder.properties");

  const auto outcome = call({"check", "--json"});

  EXPECT_EQ(outcome.exit_status, 78);
  EXPECT_EQ(json::parse(outcome.output).at("format"), "package-minder/check");
  EXPECT_EQ(json::parse(outcome.output).at("error").at("code"), "bad_settings");
}

}  // namespace
}  // namespace zant::program
