#include <zant/velmora_host/families/minded_host.hpp>

#include <zant/velmora/facilitators/linux_package_facilitator.hpp>
#include <zant/velmora/package_minder/errors.hpp>

#include <support/fake_filesystem.hpp>
#include <support/fake_system.hpp>
#include <support/recorded_settings.hpp>

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>

namespace zant::velmora_host {
namespace {

class FamilyOf : public ::testing::TestWithParam<std::string> {};

// The library builds an object for the families that it knows, and nothing for the others.
TEST_P(FamilyOf, AnOsReleaseIsWhatTheLibraryMakesOfIt) {
  const auto files = std::make_shared<velmora::test_support::Fake_Filesystem>();
  const auto system = std::make_shared<velmora::test_support::Fake_System>();
  system->on("dpkg-query -f='${Architecture}' -W zant-velmora", 0, "amd64");
  files->add_file("/etc/os-release", GetParam());
  files->add_file("/proc/1/comm", "systemd\n");
  for (const char* name : {"apt/templates/zant-velmora.list", "dnf/templates/quorvane.repo"}) {
    files->add_file(std::string("/staging/config-files/") + name + ".template", "");
  }
  const velmora::test_support::Recorded_Settings settings;
  const bool without_upgrades = false;

  const auto config = velmora::Linux_Package_Facilitator(files, system, settings, "/staging")
                          .create_package_config(without_upgrades);

  const Family* const family = Family_Registry::built_in().find(*files);
  EXPECT_EQ(family == nullptr ? velmora::Package_Config_Type::None : family->type(),
            config ? config->type() : velmora::Package_Config_Type::None);
}

INSTANTIATE_TEST_SUITE_P(Texts, FamilyOf,
                         ::testing::Values("ID=debian\n", "ID=ubuntu\n", "ID_LIKE=\"rhel fedora\"\n",
                                           "ID=fedora\n", "ID=Debian\nID_LIKE=rhel\n", "", "ID=RHEL\n"));

TEST(InitSystem, IsWhatProcessOneIs) {
  velmora::test_support::Fake_Filesystem files;
  files.add_file("/proc/1/comm", "systemd\n");
  EXPECT_EQ(find_init(files), velmora::Init::systemd);

  files.add_file("/proc/1/comm", "init\n");
  EXPECT_EQ(find_init(files), velmora::Init::other);
}

TEST(InitSystem, HasAWordForEachAndNoneForAnother) {
  EXPECT_STREQ(to_string(velmora::Init::systemd), "systemd");
  EXPECT_STREQ(to_string(velmora::Init::other), "other");
  EXPECT_THROW(to_string(static_cast<velmora::Init>(7)), std::logic_error);
}

}  // namespace
}  // namespace zant::velmora_host
