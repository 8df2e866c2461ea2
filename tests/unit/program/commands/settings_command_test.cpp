#include <program/commands/command_table.hpp>

#include <zant/velmora_host/minding/package_minding.hpp>

#include <support/host_side/debian_host.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <unistd.h>

#include <string>

namespace zant::program {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

class SettingsCommand : public ::testing::Test {
 protected:
  std::string printed(bool json) {
    Invocation invocation;
    invocation.json = json;
    ::testing::internal::CaptureStdout();
    const int status =
        std::get<Work>(find_command("settings")->work)(invocation, host_.settings(), host_.services);
    const std::string text = ::testing::internal::GetCapturedStdout();
    EXPECT_EQ(status, 0);
    return text;
  }

  velmora_host::test_support::Debian_Host host_;
};

TEST_F(SettingsCommand, PrintsThemForAPerson) {
  EXPECT_THAT(printed(false), StartsWith("Settings file  /nowhere (missing)\nService        not running\n\n"
                                         "minder.interval                            3600\n"));
}

TEST_F(SettingsCommand, PrintsThemForPrograms) {
  const auto document = nlohmann::json::parse(printed(true));

  EXPECT_EQ(document.at("format"), "package-minder/settings");
  EXPECT_EQ(document.at("service").at("state"), "not_running");
}

TEST_F(SettingsCommand, KnowsTheDefaultsOfTheInit) {
  host_.write("/proc/1/comm", "init\n");

  EXPECT_THAT(printed(false), HasSubstr("package.apt.repo.channel                   sysvinit-production\n"));
}

TEST_F(SettingsCommand, TellsWhatAMindingProcessHasNotYet) {
  const velmora_host::Package_Minding minding("run", host_.settings(), host_.services);
  host_.set("minder.interval", "60");

  const auto document = nlohmann::json::parse(printed(true));

  EXPECT_EQ(document.at("service").at("state"), "running");
  EXPECT_EQ(document.at("service").at("process"), std::to_string(::getpid()));
  EXPECT_EQ(document.at("needs_restart"), true);
  EXPECT_EQ(document.at("settings").at(0).at("service_value"), "3600");
  EXPECT_EQ(document.at("settings").at(1).at("in_service"), true);
}

TEST_F(SettingsCommand, TellsThatAMindingProcessHasEnded) {
  { const velmora_host::Package_Minding minding("run", host_.settings(), host_.services); }

  EXPECT_THAT(printed(false), HasSubstr("Service        not running\n"));
}

}  // namespace
}  // namespace zant::program
