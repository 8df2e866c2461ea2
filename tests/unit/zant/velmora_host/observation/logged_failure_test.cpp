#include <zant/velmora_host/observation/logged_failure.hpp>

#include <support/captured_log.hpp>

#include <zant/logging/source.hpp>

#include <gtest/gtest.h>

namespace zant::velmora_host {
namespace {

using zant::logging::severity_level;

void log(const std::string& channel, severity_level severity) {
  zant::logging::Source source;
  source.init_(channel, "");
  ZANT_LOG(source, severity) << "text";
}

TEST(LoggedFailure, IsAnErrorOfChocolateyWithItsMessage) {
  const auto failure = find_logged_failure({severity_level::error, "Choco_Exe", "choco.exe command failed"});

  ASSERT_TRUE(failure);
  EXPECT_EQ(failure->kind, "repository");
  EXPECT_EQ(failure->message, "choco.exe command failed");
}

TEST(LoggedFailure, IsAnErrorOfTheTaskScheduler) {
  const auto failure =
      find_logged_failure({severity_level::error, "Choco_Upgrade_Task_Scheduler", "no task"});

  ASSERT_TRUE(failure);
  EXPECT_EQ(failure->kind, "automatic_upgrades");
}

TEST(LoggedFailure, IsNeitherAnActionNorWhatIsToldInAnotherWay) {
  EXPECT_FALSE(find_logged_failure({severity_level::notice, "Choco_Exe", "Unpin"}));
  EXPECT_FALSE(find_logged_failure({severity_level::error, "APT_Package", "failed, and returns false"}));
}

TEST(LoggedFailureWatch, NoticesAFailureWhileItLives) {
  const velmora::test_support::Captured_Log quiet;
  const Logged_Failure_Watch watch;
  EXPECT_FALSE(watch.has_noticed_one());

  log("Choco_Exe", severity_level::error);

  EXPECT_TRUE(watch.has_noticed_one());
}

TEST(LoggedFailureWatch, OverlooksAllElse) {
  const velmora::test_support::Captured_Log quiet;
  const Logged_Failure_Watch watch;

  log("Choco_Exe", severity_level::notice);
  log("Command_Service", severity_level::error);

  EXPECT_FALSE(watch.has_noticed_one());
}

}  // namespace
}  // namespace zant::velmora_host
