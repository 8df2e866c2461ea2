#include <program/platform/windows/service_commands.hpp>

#include <gtest/gtest.h>

using namespace zant::program;
namespace velmora_host = zant::velmora_host;

namespace {

TEST(ServiceCommands, StartTheServiceWithNothingButItsDefaults) {
  EXPECT_EQ(service_commands::make_command_line("C:\\Program Files (x86)\\package-minder.exe", {}),
            "\"C:\\Program Files (x86)\\package-minder.exe\" run");
}

TEST(ServiceCommands, StartTheServiceWithTheSettingsItWasInstalledWith) {
  velmora_host::Settings_Sources settings;
  settings.file = "C:\\a b\\minder.properties";
  settings.file_is_required = true;
  settings.overrides = {{"minder.interval", "60"},
                        {"package.choco.upgrade_scheduler.options", "/SC DAILY /ST 03:00"}};

  EXPECT_EQ(service_commands::make_command_line("C:\\package-minder.exe", settings),
            "\"C:\\package-minder.exe\" --settings \"C:\\a b\\minder.properties\" --set "
            "\"minder.interval=60\" --set "
            "\"package.choco.upgrade_scheduler.options=/SC DAILY /ST 03:00\" run");
}

TEST(ServiceCommands, EscapeQuotesAndTheBackslashesBeforeThem) {
  velmora_host::Settings_Sources settings;
  settings.overrides = {{"a", "\"x\" \\\"y\\\" C:\\dir\\"}};

  EXPECT_EQ(service_commands::make_command_line("m.exe", settings),
            "\"m.exe\" --set \"a=\\\"x\\\" \\\\\\\"y\\\\\\\" C:\\dir\\\\\" run");
}

}  // namespace
