#include <zant/velmora/package_minder/package_config.hpp>

#include <support/virtual_slot.hpp>

#include <gtest/gtest.h>

#include <cstdint>
#include <type_traits>

using namespace zant::velmora;
using test_support::virtual_slot;

namespace {

static_assert(std::is_same_v<std::underlying_type_t<Package_Config_Type>, std::uint32_t>);
static_assert(std::is_abstract_v<Package_Config>);
static_assert(std::has_virtual_destructor_v<Package_Config>);
static_assert(sizeof(Package_Config) == sizeof(void*), "an interface has no data members");

TEST(PackageConfigType, IsNumberedAsHostsWereBuiltAgainst) {
  EXPECT_EQ(static_cast<int>(Package_Config_Type::None), 0);
  EXPECT_EQ(static_cast<int>(Package_Config_Type::APT), 1);
  EXPECT_EQ(static_cast<int>(Package_Config_Type::DNF), 2);
  EXPECT_EQ(static_cast<int>(Package_Config_Type::Choco), 3);
}

TEST(PackageConfigInterface, KeepsTheOrderOfItsVirtualOperations) {
  EXPECT_EQ(virtual_slot(&Package_Config::type), 2);
  EXPECT_EQ(virtual_slot(&Package_Config::setup_repo_if_necessary), 3);
  EXPECT_EQ(virtual_slot(&Package_Config::setup_unattended_upgrades_if_necessary), 4);
  EXPECT_EQ(virtual_slot(&Package_Config::purge_unattended_upgrade_configuration), 5);
  EXPECT_EQ(virtual_slot(&Package_Config::purge_all_configurations), 6);
}

}  // namespace
