#include <zant/velmora_host/families/configured_causes.hpp>

#include <gtest/gtest.h>

namespace zant::velmora_host {
namespace {

Cause cause(const std::string& code, const std::string& remedy) {
  return {Cause_Effect::BLOCKS, code, "", "", remedy};
}

TEST(ConfiguredCauses, AreThoseOfTheCodesThatNoCyclePutsRight) {
  Causes causes = {cause("package.pinned", "sed -i 1d /etc/apt/preferences.d/stop"),
                   cause("package.pinned", "package-minder once"), cause("disk.full", "Make room")};

  mark_configured(causes, {"package.pinned"});

  EXPECT_TRUE(causes[0].is_of_configuration);
  EXPECT_FALSE(causes[1].is_of_configuration);
  EXPECT_FALSE(causes[2].is_of_configuration);
}

TEST(ConfiguredCauses, AreNotThoseThatACycleRepairsBeforeItsRemedyIsTyped) {
  EXPECT_TRUE(is_for_cycle(cause("repository.not_registered", "")));
  EXPECT_TRUE(is_for_cycle(cause("timer.stopped", "systemctl enable --now apt-daily.timer")));
  EXPECT_TRUE(is_for_cycle(cause("timer.disabled", "systemctl enable apt-daily.timer")));
  EXPECT_TRUE(is_for_cycle(cause("hold.held", "package-minder release")));
  EXPECT_FALSE(is_for_cycle(cause("timer.masked", "systemctl unmask apt-daily.timer")));
  EXPECT_FALSE(is_for_cycle(cause("apt.configuration_broken", "mv a b && package-minder once")));
}

}  // namespace
}  // namespace zant::velmora_host
