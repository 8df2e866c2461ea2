#include <zant/velmora_host/families/host_kind.hpp>

#include <zant/velmora/facilitators/linux_package_facilitator.hpp>
#include <zant/velmora/package_minder/errors.hpp>

#include <support/fake_filesystem.hpp>
#include <support/fake_system.hpp>
#include <support/recorded_settings.hpp>

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace zant::velmora_host {
namespace {

class HostKindOf : public ::testing::TestWithParam<std::string> {};

// The library builds an object for the families that it knows, and nothing for the others.
TEST_P(HostKindOf, AnOsReleaseIsWhatTheLibraryMakesOfIt) {
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

  EXPECT_EQ(find_host_kind(*files).family, config ? config->type() : velmora::Package_Config_Type::None);
}

INSTANTIATE_TEST_SUITE_P(Texts, HostKindOf,
                         ::testing::Values("ID=debian\n", "ID=ubuntu\n", "ID_LIKE=\"rhel fedora\"\n",
                                           "ID=fedora\n", "ID=Debian\nID_LIKE=rhel\n", "", "ID=RHEL\n"));

TEST(HostKind, ReadsTheInitSystem) {
  velmora::test_support::Fake_Filesystem files;
  files.add_file("/proc/1/comm", "systemd\n");
  EXPECT_EQ(find_host_kind(files).init, velmora::Init::systemd);

  files.add_file("/proc/1/comm", "init\n");
  EXPECT_EQ(find_host_kind(files).init, velmora::Init::other);
}

}  // namespace
}  // namespace zant::velmora_host
