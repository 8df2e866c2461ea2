#pragma once

#include <zant/velmora/upgrade_timer/linux_upgrade_timer_manager.hpp>

#include <support/fake_upgrade_timer_command_runner.hpp>
#include <support/recorded_host.hpp>
#include <support/throws_error.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace zant::velmora::test_support {

/// A manager of the drop-ins /staged/calendar and /staged/delay, installed in /timer.d, over a host with a
/// healthy timer on which nothing is staged or installed.
class Linux_Upgrade_Timer_Manager_Test : public testing::Test {
 protected:
  void stage_calendar(const std::string& text = "daily") { host.files->add_file("/staged/calendar", text); }
  void stage_delay(const std::string& text = "1h") { host.files->add_file("/staged/delay", text); }
  void install_calendar(const std::string& text = "daily") {
    host.files->add_file("/timer.d/calendar", text);
  }
  void install_delay(const std::string& text = "1h") { host.files->add_file("/timer.d/delay", text); }

  Recorded_Host host;
  std::shared_ptr<Fake_Upgrade_Timer_Command_Runner> timer =
      std::make_shared<Fake_Upgrade_Timer_Command_Runner>(host.journal());
  Upgrade_Timer_Manager::Timer_Config timer_config{{"/staged/calendar", "/timer.d/calendar", "daily"},
                                                   {"/staged/delay", "/timer.d/delay", "1h"},
                                                   "/timer.d"};
  Linux_Upgrade_Timer_Manager manager{host.files, timer, timer_config};
};

}  // namespace zant::velmora::test_support
